/* A Dreamcast program that an observer can see at work: it writes a line to the serial port and fades the
   screen's border through the colours of the rainbow. It stands alone: no operating system, no C library. */

#include <stdint.h>

#define REGISTER(bits, address) (*(volatile uint##bits##_t*)(address))

#define SERIAL_MODE REGISTER(16, 0xFFE80000)
#define SERIAL_BIT_RATE REGISTER(8, 0xFFE80004)
#define SERIAL_CONTROL REGISTER(16, 0xFFE80008)
#define SERIAL_DATA REGISTER(8, 0xFFE8000C)
#define SERIAL_STATUS REGISTER(16, 0xFFE80010)
#define SERIAL_FIFO_CONTROL REGISTER(16, 0xFFE80018)
#define BORDER_COLOUR REGISTER(32, 0xA05F8040) /* 0x00RRGGBB */

enum {
  BitsPerSecond115200 = 13,
  ResetFifos = 6,
  TransmitAndReceive = 0x30,
  FifoHasRoom = 0x20,
  SentFlags = 0x60,
  StepsPerBit = 2000, /* more than it takes to send one */
  StepsPerColour = 50000
};

static void wait(unsigned steps) {
  for (volatile unsigned left = steps; left; --left) {
  }
}

/* The transmitter sends nothing until the port is set up. */
static void open_serial_port(void) {
  SERIAL_CONTROL = 0;
  SERIAL_FIFO_CONTROL = ResetFifos;
  SERIAL_FIFO_CONTROL = 0;
  SERIAL_MODE = 0;
  SERIAL_BIT_RATE = BitsPerSecond115200;
  wait(StepsPerBit);
  SERIAL_CONTROL = TransmitAndReceive;
}

static void say(const char* text) {
  for (; *text; ++text) {
    while (!(SERIAL_STATUS & FifoHasRoom)) {
    }
    SERIAL_DATA = (uint8_t)*text;
    SERIAL_STATUS &= (uint16_t)~SentFlags;
  }
}

/* Red to yellow to green to cyan to blue to magenta, without end: one part rises, then another falls. */
static void fade_border(void) {
  static const unsigned parts[] = {8, 16, 0}; /* the bit at which green, red and blue begin */
  uint32_t colour = 0xFF0000;
  for (unsigned step = 0;; step = (step + 1) % 6) {
    for (unsigned level = 0; level < 0xFF; ++level) {
      const uint32_t least = (uint32_t)1 << parts[step % 3];
      colour += step % 2 ? -least : least;
      BORDER_COLOUR = colour;
      wait(StepsPerColour);
    }
  }
}

/* Apart from the start, or the compiler may read variables before they are cleared. */
__attribute__((noipa)) static void run(void) {
  open_serial_port();
  say("Marrowvane hello from C\r\n");
  fade_border();
}

/* The first byte of the program. The boot sector has set the stack, but nobody has cleared the variables. The
   linker script has these names, whatever the compiler puts before those of C. */
void start(void) __asm__("start");
extern volatile uint32_t bss_start[] __asm__("bss_start"), bss_end[] __asm__("bss_end");

__attribute__((section(".text.start"))) void start(void) {
  for (volatile uint32_t* word = bss_start; word < bss_end; ++word) *word = 0;
  run();
}
