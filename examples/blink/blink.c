/*
 * Running light for the AT90S8515 at 4 MHz.
 *
 * Eight LEDs between VCC and PB0..PB7 (a low pin lights its LED). One LED is lit at a time and
 * walks from PB0 to PB7 and back. Timer 0 sets the pace; the processor sleeps in between.
 */
#include <avr/interrupt.h>
#include <avr/io.h>
#include <avr/sleep.h>

/* Timer 0 counts clk/256, so it overflows every 256 * 256 / 4 MHz = 16.384 ms. */
#define OVERFLOWS_PER_STEP 6 /* 98 ms a step */

static volatile uint8_t overflows;

ISR(TIMER0_OVF_vect) { ++overflows; }

static void wait_for_step(void) {
  while (overflows < OVERFLOWS_PER_STEP) {
    sleep_mode();
  }
  /* The interrupt may come in the middle of this store; it costs at most one overflow. */
  overflows = 0;
}

int main(void) {
  uint8_t lit = 0x01;
  uint8_t upward = 1;

  DDRB = 0xFF;
  PORTB = 0xFF;
  TCCR0 = _BV(CS02);
  TIMSK = _BV(TOIE0);
  set_sleep_mode(SLEEP_MODE_IDLE);
  sei();

  for (;;) {
    PORTB = (uint8_t)~lit;
    wait_for_step();
    if (lit == 0x80) {
      upward = 0;
    } else if (lit == 0x01) {
      upward = 1;
    }
    lit = upward ? (uint8_t)(lit << 1) : (uint8_t)(lit >> 1);
  }
}
