! A Dreamcast program that an observer can see at work: it writes a line to the serial port and fades the
! screen's border through the colours of the rainbow.

        .set    SCSMR2,  0xFFE80000     ! serial mode
        .set    SCBRR2,  0xFFE80004     ! bit rate
        .set    SCSCR2,  0xFFE80008     ! serial control
        .set    SCFTDR2, 0xFFE8000C     ! transmit data
        .set    SCFSR2,  0xFFE80010     ! status
        .set    SCFCR2,  0xFFE80018     ! FIFO control

        .set    BITS_PER_SECOND_115200, 13
        .set    RESET_FIFOS,            6
        .set    TRANSMIT_AND_RECEIVE,   0x30
        .set    FIFO_HAS_ROOM,          0x20
        .set    SENT_FLAGS,             0x60

        .set    BORDER_COLOUR,          0xA05F8040
        .set    COLOURS,                192
        .set    DELAY,                  400000

        .section .text
        .global start
start:
        mov.l   stack_top, r15

! The transmitter sends nothing until the port is set up.
        mov     #0, r0
        mov.l   control, r1
        mov.w   r0, @r1
        mov.l   fifo_control, r1
        mov     #RESET_FIFOS, r2
        mov.w   r2, @r1
        mov.w   r0, @r1
        mov.l   mode, r1
        mov.w   r0, @r1
        mov.l   bit_rate, r1
        mov     #BITS_PER_SECOND_115200, r2
        mov.b   r2, @r1
        mov.l   control, r1
        mov     #TRANSMIT_AND_RECEIVE, r2
        mov.w   r2, @r1

        mova    greeting, r0
        mov     r0, r4
next_character:
        mov.b   @r4+, r5
        tst     r5, r5
        bt      fade
        bsr     send
        nop
        bra     next_character
        nop

! Sends the character in r5.
send:
        mov.l   status, r1
wait_for_room:
        mov.w   @r1, r0
        tst     #FIFO_HAS_ROOM, r0
        bt      wait_for_room
        mov.l   data, r2
        mov.b   r5, @r2
        mov.w   @r1, r0
        mov     #SENT_FLAGS, r2
        not     r2, r2
        and     r2, r0
        mov.w   r0, @r1
        rts
        nop

! One colour after the other, without end.
fade:
        mov.l   border, r1
from_the_first:
        mov.l   colours_at, r2
        mov.l   colour_count, r3
next_colour:
        mov.l   @r2+, r0
        mov.l   r0, @r1
        mov.l   delay, r6
wait:
        dt      r6
        bf      wait
        dt      r3
        bf      next_colour
        bra     from_the_first
        nop

        .balign 4
control:        .long   SCSCR2
fifo_control:   .long   SCFCR2
mode:           .long   SCSMR2
bit_rate:       .long   SCBRR2
status:         .long   SCFSR2
data:           .long   SCFTDR2
border:         .long   BORDER_COLOUR
colours_at:     .long   colours
colour_count:   .long   COLOURS
delay:          .long   DELAY
stack_top:      .long   0x8D000000

        .balign 4
greeting:       .asciz  "Marrowvane hello\r\n"

! Red to yellow to green to cyan to blue to magenta and back, 0x00RRGGBB.
        .section .rodata
        .balign 4
colours:
        .set    level, 0
        .rept   32
        .long   0xFF0000 + (level << 8)
        .set    level, level + 8
        .endr
        .set    level, 0
        .rept   32
        .long   0x00FF00 + ((0xFF - level) << 16)
        .set    level, level + 8
        .endr
        .set    level, 0
        .rept   32
        .long   0x00FF00 + level
        .set    level, level + 8
        .endr
        .set    level, 0
        .rept   32
        .long   0x0000FF + ((0xFF - level) << 8)
        .set    level, level + 8
        .endr
        .set    level, 0
        .rept   32
        .long   0x0000FF + (level << 16)
        .set    level, level + 8
        .endr
        .set    level, 0
        .rept   32
        .long   0xFF0000 + (0xFF - level)
        .set    level, level + 8
        .endr

! Real programs have such a section: the linker puts it far away from the rest.
        .section .stack, "aw"
        .long   0xDEADBEEF
