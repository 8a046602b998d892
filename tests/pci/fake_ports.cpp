#include <cerrno>

#include "pci/portio.h"
#include "tests/pci/pci_fakes.h"

int raise_io_privilege() {
  errno = fake_ports.privilege_errno;
  return errno == 0 ? 0 : -1;
}

uint32_t port_in(uint16_t port, unsigned size) {
  return fake_ports.answer(port, size);
}

void port_out(uint16_t port, unsigned size, uint32_t value) {
  fake_ports.writes.push_back({port, size, value});
}
