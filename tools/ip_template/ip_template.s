! Marrowvane's boot sector template: the least that starts a program.
!
! The console's start-up code reads the 32768 bytes of a disc's boot sector to 0x8C008000, brings the boot
! file to 0x8C010000, and jumps to offset 0x300 of the boot sector, seen uncached. The first 256 bytes are the
! boot header, which Marrowvane writes itself and never reads from here.
!
! Every byte that is no code is 0xFF. Words of 0x0000 run as no-operations on some emulators, so that a
! broken start could seem to work; 0xFFFF is no instruction.

        .set    STATUS_PRIVILEGED_MASKED, 0x400000F0
        .set    FPU_AS_AFTER_RESET,       0x00040001
        .set    TOP_OF_MEMORY,            0x8D000000
        .set    PROGRAM,                  0x8C010000

        .section .text
        .ascii  "Marrowvane boot sector template"
        .fill   0x300 - 0x1F, 1, 0xFF

        .balign 4
        .global start
start:
        ! Privileged mode, first register bank, exceptions allowed, interrupts blocked.
        mov.l   status, r0
        ldc     r0, sr
        ! The stack grows down from the end of the 16 MiB of memory.
        mov.l   stack, r15
        mov.l   fpu, r0
        lds     r0, fpscr
        mov     #0, r0
        lds     r0, pr
        ! The caches stay as the start-up code left them. The program runs where they apply.
        mov.l   program, r0
        jmp     @r0
        nop

        .balign 4
status: .long   STATUS_PRIVILEGED_MASKED
stack:  .long   TOP_OF_MEMORY
fpu:    .long   FPU_AS_AFTER_RESET
program:
        .long   PROGRAM

        .fill   0x8000 - (. - start) - 0x300, 1, 0xFF
