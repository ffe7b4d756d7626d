; SPDX-License-Identifier: GPL-3.0-or-later
; Toggles RB0 on an 18F452.
        list    p=18f452
        #include <p18f452.inc>

        config  OSC = HS, OSCS = OFF, PWRT = ON, BOR = OFF, WDT = OFF, LVP = OFF, CCP2MUX = ON
        config  CP0 = OFF, CP1 = OFF, CPB = OFF, CPD = OFF, WRT0 = OFF, WRTC = OFF, EBTR0 = OFF

        org     0
start   clrf    TRISB
loop    btg     LATB, 0
        bra     loop

        org     0x200000
        db      1, 2, 3, 4, 5, 6, 7, 8
        org     0xF00000
        de      0x11, 0x22
        end
