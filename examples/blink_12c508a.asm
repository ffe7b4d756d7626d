; SPDX-License-Identifier: GPL-3.0-or-later
; Toggles GP0 on a 12C508A running from its internal oscillator.
        list    p=12c508a
        #include <p12c508a.inc>

        __config _MCLRE_OFF & _CP_OFF & _WDT_OFF & _IntRC_OSC
        __idlocs H'1234'

        org     0
start   movwf   OSCCAL          ; the factory calibration value arrives in W
        movlw   B'11111110'
        tris    GPIO
loop    bsf     GPIO, 0
        bcf     GPIO, 0
        goto    loop
        end
