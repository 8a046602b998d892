// Control flow, BOUND and CPUID.
#include "pci/x86_bits.h"
#include "pci/x86_interpreter.h"

namespace x86 {

void Interpreter::jump(uint32_t target) {
  eip = target & mask(in_.operand_size);
}

void Interpreter::jump_relative(uint32_t displacement, bool taken) {
  if (taken) {
    jump(eip + displacement);
  }
}

void Interpreter::call(uint32_t target) {
  push(eip, in_.operand_size);
  jump(target);
}

void Interpreter::call_relative(uint32_t displacement) {
  call(eip + displacement);
}

// Far transfers load CS, whose base is 0 like that of every segment.
void Interpreter::jump_far(uint32_t target, uint32_t selector) {
  segment[kCs] = static_cast<uint16_t>(selector);
  jump(target);
}

void Interpreter::call_far(uint32_t target, uint32_t selector) {
  push(segment[kCs], in_.operand_size);
  push(eip, in_.operand_size);
  jump_far(target, selector);
}

// Opcodes FE and FF.
void Interpreter::group_inc_dec_branch(uint32_t opcode, uint32_t size) {
  decode_modrm();
  if (in_.reg < 2) {
    return increment(in_.rm, in_.reg == 1, size);
  }
  const bool far = in_.reg == 3 || in_.reg == 5;
  if (opcode == 0xFE || (far && !in_.rm.in_memory)) {
    return fail(CallEnd::kInstruction);
  }
  const uint32_t target = load(in_.rm, size);
  const uint32_t selector = far ? read_after_operand(2) : 0;
  switch (in_.reg) {
    case 2: return call(target);
    case 3: return call_far(target, selector);
    case 4: return jump(target);
    case 5: return jump_far(target, selector);
    case 6: return push(target, size);
    default: return fail(CallEnd::kInstruction);
  }
}

void Interpreter::return_near(uint32_t extra) {
  jump(pop(in_.operand_size));
  gpr[kEsp] += extra;
}

void Interpreter::return_far(uint32_t extra) {
  const uint32_t target = pop(in_.operand_size);
  jump_far(target, pop(in_.operand_size));
  gpr[kEsp] += extra;
}

void Interpreter::return_from_interrupt() {
  return_far(0);
  pop_flags();
}

// LOOPNE, LOOPE, LOOP and JCXZ, which count in CX or ECX by the address size.
void Interpreter::loop(uint32_t opcode) {
  const uint32_t displacement = fetch_signed_byte();
  const uint32_t width = in_.address_size;
  if (opcode == 0xE3) {
    return jump_relative(displacement, reg(kEcx, width) == 0);
  }
  set_reg(kEcx, width, gpr[kEcx] - 1);
  const bool more = reg(kEcx, width) != 0;
  switch (opcode) {
    case 0xE0: return jump_relative(displacement, more && !flag(kZero));
    case 0xE1: return jump_relative(displacement, more && flag(kZero));
    default: return jump_relative(displacement, more);
  }
}

void Interpreter::bound() {
  if (!memory_operand()) {
    return;
  }
  const uint32_t size = in_.operand_size;
  const int64_t index = as_signed(reg(in_.reg, size), size);
  const int64_t lower = as_signed(read(in_.rm.where, size), size);
  const int64_t upper = as_signed(read_after_operand(size), size);
  if (index < lower || index > upper) {
    fail(CallEnd::kInstruction);
  }
}

// Answers as an i486 of no maker without extensions, so that code does not choose instructions that are
// unknown here.
void Interpreter::cpuid() {
  gpr[kEax] = gpr[kEax] == 0 ? 1 : 0x480;
  gpr[kEbx] = gpr[kEcx] = gpr[kEdx] = 0;
}

}  // namespace x86
