/*
 * Power-on counter for the AT90S8515 at 4 MHz, with its texts in the EEPROM.
 *
 * At every start the program adds one to a counter in the EEPROM and sends it, followed by one of
 * the messages of the table in the EEPROM, over the UART (TXD, PD1) at 9600 baud, 8N1. The texts
 * can be changed, or the counter preset, by programming another data file: the code stays.
 */
#include <avr/eeprom.h>
#include <avr/io.h>
#include <avr/sleep.h>
#include <stdlib.h>

#define CLOCK_HZ 4000000UL
#define BAUD 9600UL

#define MESSAGE_COUNT 4
#define MESSAGE_SIZE 24

/*
 * The EEPROM's layout, from address 0 on. Address 0 stays unused: it is the location that a supply
 * voltage falling in the middle of a write is most likely to damage.
 */
struct eeprom_layout {
  uint8_t unused;
  uint16_t starts;
  char messages[MESSAGE_COUNT][MESSAGE_SIZE];
};

static struct eeprom_layout stored EEMEM = {
    .unused = 0xFF,
    .starts = 0,
    .messages = {"Good morning.", "Nice to be back.", "All systems ready.", "Still counting."},
};

static void send(char character) {
  loop_until_bit_is_set(USR, UDRE);
  UDR = (uint8_t)character;
}

static void send_text(const char *text) {
  while (*text != '\0') {
    send(*text++);
  }
}

static void send_message(uint8_t index) {
  char text[MESSAGE_SIZE];
  eeprom_read_block(text, stored.messages[index], MESSAGE_SIZE);
  text[MESSAGE_SIZE - 1] = '\0';
  send_text(text);
}

static uint16_t count_start(void) {
  uint16_t starts = eeprom_read_word(&stored.starts) + 1;
  eeprom_write_word(&stored.starts, starts);
  eeprom_busy_wait();
  return starts;
}

int main(void) {
  char digits[6];
  uint16_t starts;

  UBRR = (uint8_t)(CLOCK_HZ / (16UL * BAUD) - 1);
  UCR = _BV(TXEN);

  starts = count_start();
  send_text("Start ");
  send_text(utoa(starts, digits, 10));
  send_text(": ");
  send_message((uint8_t)(starts % MESSAGE_COUNT));
  send_text("\r\n");

  /* Let the last two characters leave the UART before the clock stops. */
  USR |= _BV(TXC);
  loop_until_bit_is_set(USR, TXC);
  set_sleep_mode(SLEEP_MODE_PWR_DOWN);
  for (;;) {
    sleep_mode();
  }
}
