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

inline std::vector<Write> writes;
inline std::function<uint32_t(uint16_t port, unsigned size)> answer;  // unset: every read gives all ones
inline int privilege_errno;                                           // 0: the privilege is granted

inline void reset() {
  writes.clear();
  answer = nullptr;
  privilege_errno = 0;
}

}  // namespace fake_portio
