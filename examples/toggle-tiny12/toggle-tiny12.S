; Push-button toggle for the ATtiny12L on its internal oscillator (about 1.2 MHz).
;
; A button between PB2 and ground switches an LED between PB0 and ground on and off. The chip has
; no RAM: everything lives in registers, and the only stack is the three-level hardware one.

#define __SFR_OFFSET 0
#include <avr/io.h>

#define led PB0
#define button PB2

#define saved_flags r15
#define scratch r16
#define was_up r17 /* 1 when the button was up at the last look */

        .section .text

vectors:
        rjmp    reset           ; reset
        reti                    ; external interrupt
        reti                    ; pin change
        rjmp    look            ; timer 0 overflow
        reti                    ; EEPROM ready
        reti                    ; analogue comparator

reset:
        sbi     DDRB, led
        sbi     PORTB, button   ; pull-up on
        ldi     was_up, 1
        ; Timer 0 counts clk/64 and overflows every 64 * 256 / 1.2 MHz = 14 ms, which also
        ; debounces the button.
        ldi     scratch, (1 << CS01) | (1 << CS00)
        out     TCCR0, scratch
        ldi     scratch, 1 << TOIE0
        out     TIMSK, scratch
        ldi     scratch, 1 << SE        ; sleep means idle: the timer goes on
        out     MCUCR, scratch
        sei
idle:
        sleep
        rjmp    idle

; One look at the button for each overflow; the LED changes when the button has just gone down.
look:
        in      saved_flags, SREG
        sbis    PINB, button
        rjmp    down
        ldi     was_up, 1
        rjmp    done
down:
        sbrs    was_up, 0
        rjmp    done
        ldi     was_up, 0
        in      scratch, PORTB
        ldi     r18, 1 << led
        eor     scratch, r18
        out     PORTB, scratch
done:
        out     SREG, saved_flags
        reti
