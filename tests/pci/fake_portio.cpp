#include "tests/pci/fake_portio.h"

#include <cerrno>

#include "pci/portio.h"

namespace fake_portio {

std::vector<Write> writes;
std::function<uint32_t(uint16_t port, unsigned size)> answer;
int privilege_errno;

void reset() {
  writes.clear();
  answer = nullptr;
  privilege_errno = 0;
}

}  // namespace fake_portio

int raise_io_privilege() {
  errno = fake_portio::privilege_errno;
  return fake_portio::privilege_errno == 0 ? 0 : -1;
}

uint32_t port_in(uint16_t port, unsigned size) {
  return fake_portio::answer ? fake_portio::answer(port, size) : 0xFFFFFFFF;
}

void port_out(uint16_t port, unsigned size, uint32_t value) {
  fake_portio::writes.push_back({port, size, value});
}
