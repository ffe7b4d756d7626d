; SPDX-License-Identifier: GPL-3.0-or-later
; Copies the first data-EEPROM byte to PORTB of a 16F628A on its internal oscillator,
; with MCLR as an input: the part runs at once unless Vpp comes before Vdd.
        list    p=16f628a
        #include <p16f628a.inc>

        __config _CP_OFF & _CPD_OFF & _LVP_OFF & _BOREN_ON & _MCLRE_OFF & _PWRTE_ON & _WDT_OFF & _INTOSC_OSC_NOCLKOUT
        __idlocs H'0A5F'

        org     0
        goto    start
        org     4
isr     retfie
start   movlw   0x07
        movwf   CMCON           ; comparators off
        bsf     STATUS, RP0
        clrf    TRISB
        clrf    EEADR
        bsf     EECON1, RD
        movf    EEDATA, W
        bcf     STATUS, RP0
        movwf   PORTB
loop    goto    loop

        org     0x2100
        de      0xA5, 0x5A, 0x00, 0xFF, 0x80
        end
