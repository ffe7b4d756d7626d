; SPDX-License-Identifier: GPL-3.0-or-later
; Shows the first data-EEPROM byte on PORTB of a 16F84A.
        list    p=16f84a
        #include <p16f84a.inc>

        __config _CP_OFF & _PWRTE_ON & _WDT_OFF & _XT_OSC
        __idlocs H'4321'

        org     0
start   bsf     STATUS, RP0
        clrf    TRISB
        bcf     STATUS, RP0
        clrf    EEADR
        bsf     STATUS, RP0
        bsf     EECON1, RD
        bcf     STATUS, RP0
        movf    EEDATA, W
        movwf   PORTB
loop    goto    loop

        org     0x2100
        de      0x12, 0x34, 0x56
        de      "OK"
        end
