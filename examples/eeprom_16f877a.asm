; SPDX-License-Identifier: GPL-3.0-or-later
; Shows the first data-EEPROM byte on PORTB of a 16F877A, with a table in the
; last words of program memory so that a read which stops early loses it.
        list    p=16f877a
        #include <p16f877a.inc>

        __config _CP_OFF & _DEBUG_OFF & _WRT_OFF & _CPD_OFF & _LVP_OFF & _BOREN_ON & _PWRTE_ON & _WDT_OFF & _HS_OSC
        __idlocs H'877A'

        org     0
start   bsf     STATUS, RP0     ; bank 1
        clrf    TRISB
        bsf     STATUS, RP1     ; bank 3
        bcf     EECON1, EEPGD   ; data memory, not program memory
        bcf     STATUS, RP0     ; bank 2
        clrf    EEADR
        bsf     STATUS, RP0     ; bank 3
        bsf     EECON1, RD
        bcf     STATUS, RP0     ; bank 2
        movf    EEDATA, W
        bcf     STATUS, RP1     ; bank 0
        movwf   PORTB
loop    goto    loop

        org     0x1FFC
        dt      "877A"

        org     0x2100
        de      0x87, 0x7A, 0x00
        de      "EE"
        end
