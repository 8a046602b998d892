// Stand-in for pci/portio: keeps what is written to ports and answers what is read from them.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace fake_portio {

struct Write {
  uint16_t port;
  unsigned size;
  uint32_t value;
  bool operator==(const Write &) const = default;
};

extern std::vector<Write> writes;
extern std::function<uint32_t(uint16_t port, unsigned size)> answer;  // unset: every read gives all ones
extern int privilege_errno;                                           // 0: the privilege is granted

void reset();

}  // namespace fake_portio
