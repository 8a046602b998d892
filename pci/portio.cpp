#include "pci/portio.h"

#include <sys/io.h>

int raise_io_privilege() {
  return iopl(3);
}

uint32_t port_in(uint16_t port, unsigned size) {
  switch (size) {
    case 1: return inb(port);
    case 2: return inw(port);
    default: return inl(port);
  }
}

void port_out(uint16_t port, unsigned size, uint32_t value) {
  switch (size) {
    case 1: outb(static_cast<uint8_t>(value), port); break;
    case 2: outw(static_cast<uint16_t>(value), port); break;
    default: outl(value, port); break;
  }
}
