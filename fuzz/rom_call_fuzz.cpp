// A ROM of arbitrary bytes: called directly with arbitrary registers, and searched for a service.
//
// Input: the register block (40 bytes), then ROM code, which is called at its first byte, physical 0xF0000.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "pci/paths.h"
#include "pci/portio.h"
#include "pci/romaccess.h"
#include "pci/romcall64.h"

namespace {

constexpr uint32_t kCodeAt = 0xF0000;
constexpr size_t kCodeSize = kRomBase + kRomSize - kCodeAt;
constexpr uint64_t kBudget = 5'000;  // enough to get anywhere, small enough to be fast

uint32_t port_state;

}  // namespace

int raise_io_privilege() {
  return 0;
}

uint32_t port_in(uint16_t port, unsigned) {
  port_state = port_state * 1664525 + 1013904223 + port;
  return port_state;
}

void port_out(uint16_t, unsigned, uint32_t value) {
  port_state ^= value;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  stderr = fopen("/dev/null", "w");  // the searches' messages; reports of the sanitizers go to the descriptor
  pci_proc_dir = "/proc/self/ns";    // a directory with no bus in it, for the unlock step
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  x86_reg_t reg;
  if (size < sizeof(reg)) {
    return 0;
  }
  memcpy(&reg, data, sizeof(reg));
  static std::vector<uint8_t> rom(kRomSize);
  uint8_t *const code = rom.data() + (kCodeAt - kRomBase);
  const size_t code_size = std::min(size - sizeof(reg), kCodeSize);
  memcpy(code, data + sizeof(reg), code_size);
  port_state = 0;

  uint8_t buffer[256] = {};
  const MemoryWindow lent[] = {{kLentBase, buffer, sizeof(buffer), true}};
  RomMachine machine{{kRomBase, rom.data(), kRomSize, false}, lent, kBudget};
  const x86_reg_t before = reg;
  const CallEnd end = rom_call(&reg, kCodeAt, machine);
  if (end != CallEnd::kReturned && memcmp(&reg, &before, sizeof(reg)) != 0) {
    abort();
  }

  if (memmem(code, code_size, "_32_", 4) != nullptr) {
    rominfo ri = {};
    ri.rom = rom.data();
    const uint8_t *entry = find_call(&ri, "$PCI", kBudget);
    if (entry != nullptr && (entry < ri.rom || entry >= ri.rom + kRomSize)) {
      abort();
    }
  }
  memset(code, 0, code_size);
  return 0;
}
