#include "pci/romcall64.h"

#include <algorithm>

#include "pci/x86_interpreter.h"

namespace {

// Headroom above the pushed return frame: IRET also pops EFLAGS.
constexpr uint32_t kStackAbove = 16;

}  // namespace

CallEnd rom_call(x86_reg_t *reg, uint32_t entry_point, RomMachine &machine) {
  uint8_t stack[kStackSize] = {};
  MemoryWindow windows[2 + kMaxLent] = {{kStackBase, stack, kStackSize, true}, machine.rom};
  if (machine.lent.size() > kMaxLent) {
    return CallEnd::kMemory;
  }
  std::copy(machine.lent.begin(), machine.lent.end(), windows + 2);

  x86::Interpreter cpu({windows, 2 + machine.lent.size()}, machine.budget);
  cpu.gpr[x86::kEax] = reg->u1.s1.reax;
  cpu.gpr[x86::kEbx] = reg->u2.s1.rebx;
  cpu.gpr[x86::kEcx] = reg->u3.s1.recx;
  cpu.gpr[x86::kEdx] = reg->u4.s1.redx;
  cpu.gpr[x86::kEsi] = reg->resi;
  cpu.gpr[x86::kEdi] = reg->redi;
  cpu.gpr[x86::kEsp] = kStackBase + kStackSize - kStackAbove;
  std::fill(std::begin(cpu.segment), std::end(cpu.segment), kDataSelector);
  cpu.segment[x86::kCs] = kCodeSelector;
  cpu.eflags = kInitialEflags;
  cpu.eip = entry_point;

  // The code segment above the return address lets the callee return far as well as near.
  cpu.push(kCodeSelector, 4);
  cpu.push(kReturnAddress, 4);
  const CallEnd end = cpu.run(kReturnAddress);
  machine.refused_port = cpu.refused_port();
  if (end != CallEnd::kReturned) {
    return end;
  }

  reg->u1.s1.reax = cpu.gpr[x86::kEax];
  reg->u2.s1.rebx = cpu.gpr[x86::kEbx];
  reg->u3.s1.recx = cpu.gpr[x86::kEcx];
  reg->u4.s1.redx = cpu.gpr[x86::kEdx];
  reg->resi = cpu.gpr[x86::kEsi];
  reg->redi = cpu.gpr[x86::kEdi];
  reg->rds = cpu.segment[x86::kDs];
  reg->res = cpu.segment[x86::kEs];
  reg->reflags = cpu.eflags;
  return end;
}
