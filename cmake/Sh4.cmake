# The assembler, linker and object copier for the console's processor (package binutils-sh-elf).
find_program(SH4_AS sh-elf-as REQUIRED)
find_program(SH4_LD sh-elf-ld REQUIRED)
find_program(SH4_OBJCOPY sh-elf-objcopy REQUIRED)
