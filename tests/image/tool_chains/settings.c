/*
 * A program with an odd number of settings in the EEPROM, for the AT90S8515. examples/rebuild.sh
 * makes HEX files of it in the ways in which tool chains do.
 */
#include <avr/eeprom.h>
#include <avr/io.h>

static char name[] EEMEM = "Settings in the EEPROM, 32 bytes";
static uint8_t lights[3] = {0x81, 0x42, 0x24};

int main(void) {
  DDRB = 0xFF;
  for (uint8_t at = 0;; at = (uint8_t)((at + 1) % sizeof name)) {
    lights[at % sizeof lights] ^= eeprom_read_byte((const uint8_t *)&name[at]);
    PORTB = lights[at % sizeof lights];
  }
}
