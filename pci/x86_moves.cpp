// Moves, the stack and strings.
#include "pci/x86_bits.h"
#include "pci/x86_interpreter.h"

namespace x86 {
namespace {

// The flags that POPF may change: the arithmetic flags, DF, and the NT, AC and ID bits that code toggles to
// tell processors apart. IF never changes, as with CLI and STI; TF would only trap.
constexpr uint32_t kPopfMask = 0x00244CD5;
constexpr uint32_t kRepeatWhileZero = 0xF3;  // for CMPS and SCAS; F2 repeats while not zero

}  // namespace

// Opcodes C6 and C7.
void Interpreter::mov_immediate(uint32_t size) {
  decode_modrm();
  if (in_.reg != 0) {
    return fail(CallEnd::kInstruction);
  }
  store(in_.rm, size, fetch(size));
}

// Opcodes 8C and 8E. A segment register in memory is 16 bits; in a register it is zero-extended.
void Interpreter::mov_segment(bool to_segment) {
  decode_modrm();
  if (in_.reg > kGs || (to_segment && in_.reg == kCs)) {
    return fail(CallEnd::kInstruction);
  }
  if (to_segment) {
    segment[in_.reg] = static_cast<uint16_t>(load(in_.rm, 2));
  } else {
    store(in_.rm, in_.rm.in_memory ? 2 : in_.operand_size, segment[in_.reg]);
  }
}

// Opcodes A0 to A3: the accumulator and an absolute address.
void Interpreter::mov_offset(uint32_t opcode, uint32_t size) {
  const Operand at{true, fetch(in_.address_size)};
  if ((opcode & 2) != 0) {
    store(at, size, reg(kEax, size));
  } else {
    set_reg(kEax, size, load(at, size));
  }
}

void Interpreter::mov_extended(bool is_signed, uint32_t source_size) {
  decode_modrm();
  const uint32_t value = load(in_.rm, source_size);
  set_reg(in_.reg, in_.operand_size, is_signed ? sign_extend(value, source_size) : value);
}

// CMOVcc. The operand is read in both cases.
void Interpreter::mov_if(bool holds) {
  decode_modrm();
  const uint32_t value = load(in_.rm, in_.operand_size);
  if (holds) {
    set_reg(in_.reg, in_.operand_size, value);
  }
}

void Interpreter::exchange(const Operand &a, const Operand &b, uint32_t size) {
  const uint32_t value = load(a, size);
  store(a, size, load(b, size));
  store(b, size, value);
}

void Interpreter::compare_exchange(uint32_t size) {
  decode_modrm();
  const uint32_t value = load(in_.rm, size);
  subtract(reg(kEax, size), value, false, size);
  if (flag(kZero)) {
    store(in_.rm, size, reg(in_.reg, size));
  } else {
    store(in_.rm, size, value);  // the processor writes in both cases
    set_reg(kEax, size, value);
  }
}

void Interpreter::exchange_add(uint32_t size) {
  decode_modrm();
  const uint32_t value = load(in_.rm, size);
  const uint32_t sum = add(value, reg(in_.reg, size), false, size);
  set_reg(in_.reg, size, value);
  store(in_.rm, size, sum);
}

// LDS, LES, LFS, LGS, LSS.
void Interpreter::load_far_pointer(Segment into) {
  if (!memory_operand()) {
    return;
  }
  const uint32_t offset = read(in_.rm.where, in_.operand_size);
  segment[into] = static_cast<uint16_t>(read_after_operand(2));
  set_reg(in_.reg, in_.operand_size, offset);
}

// Opcode 98, CBW and CWDE; opcode 99, CWD and CDQ.
void Interpreter::convert(uint32_t opcode) {
  const uint32_t size = in_.operand_size;
  if (opcode == 0x98) {
    set_reg(kEax, size, sign_extend(reg(kEax, size / 2), size / 2));
  } else {
    set_reg(kEdx, size, sign(reg(kEax, size), size) ? 0xFFFFFFFF : 0);
  }
}

// Stack.

void Interpreter::push_all() {
  const uint32_t size = in_.operand_size;
  const uint32_t esp = gpr[kEsp];
  for (uint32_t number = kEax; number <= kEdi; ++number) {
    push(number == kEsp ? esp : gpr[number], size);
  }
}

void Interpreter::pop_all() {
  const uint32_t size = in_.operand_size;
  for (uint32_t number = kEdi + 1; number-- > kEax;) {
    const uint32_t value = pop(size);
    if (number != kEsp) {
      set_reg(number, size, value);
    }
  }
}

// Opcode 8F. An address built from ESP uses its value after the pop.
void Interpreter::pop_operand() {
  const uint32_t value = pop(in_.operand_size);
  decode_modrm();
  if (in_.reg != 0) {
    return fail(CallEnd::kInstruction);
  }
  store(in_.rm, in_.operand_size, value);
}

void Interpreter::pop_flags() {
  const uint32_t changed = kPopfMask & mask(in_.operand_size);
  eflags = (eflags & ~changed) | (pop(in_.operand_size) & changed);
}

void Interpreter::enter() {
  const uint32_t size = in_.operand_size;
  const uint32_t locals = fetch(2);
  const uint32_t level = fetch(1) % 32;
  push(gpr[kEbp], size);
  const uint32_t frame = gpr[kEsp];
  uint32_t outer = gpr[kEbp];
  for (uint32_t i = 1; i < level; ++i) {
    outer -= size;
    push(read(outer, size), size);
  }
  if (level > 0) {
    push(frame, size);
  }
  set_reg(kEbp, size, frame);
  gpr[kEsp] -= locals;
}

void Interpreter::leave() {
  gpr[kEsp] = gpr[kEbp];
  set_reg(kEbp, in_.operand_size, pop(in_.operand_size));
}

// Strings.

// One string instruction with its repetitions. Both REP prefixes repeat; which of the two it is matters to
// CMPS and SCAS only.
void Interpreter::string(uint32_t opcode, uint32_t size) {
  const uint32_t kind = opcode & 0xFE;
  const bool compares = kind == 0xA6 || kind == 0xAE;
  if (in_.repeat == 0) {
    return string_once(kind, size);
  }
  while (!failed()) {
    const uint32_t count = reg(kEcx, in_.address_size);
    if (count == 0 || !spend()) {
      return;
    }
    in_.accesses = 0;
    string_once(kind, size);
    set_reg(kEcx, in_.address_size, count - 1);
    if (compares && flag(kZero) != (in_.repeat == kRepeatWhileZero)) {
      return;
    }
  }
}

void Interpreter::string_once(uint32_t kind, uint32_t size) {
  const uint32_t width = in_.address_size;
  const uint32_t source = reg(kEsi, width);
  const uint32_t target = reg(kEdi, width);
  bool uses_source = true;
  bool uses_target = true;
  switch (kind) {
    case 0x6C:  // INS
      uses_source = false;
      input_string(target, size);
      break;
    case 0x6E:  // OUTS
      uses_target = false;
      output(gpr[kEdx], size, read(source, size));
      break;
    case 0xA4:  // MOVS
      write(target, size, read(source, size));
      break;
    case 0xA6: {  // CMPS
      const uint32_t value = read(source, size);
      subtract(value, read(target, size), false, size);
      break;
    }
    case 0xAA:  // STOS
      uses_source = false;
      write(target, size, gpr[kEax]);
      break;
    case 0xAC:  // LODS
      uses_target = false;
      set_reg(kEax, size, read(source, size));
      break;
    default:  // SCAS
      uses_source = false;
      subtract(reg(kEax, size), read(target, size), false, size);
      break;
  }
  const uint32_t by = flag(kDirection) ? 0 - size : size;
  if (uses_source) {
    set_reg(kEsi, width, source + by);
  }
  if (uses_target) {
    set_reg(kEdi, width, target + by);
  }
}

// The port is read only when the target can be written: an instruction that fails must not reach a port.
void Interpreter::input_string(uint32_t target, uint32_t size) {
  if (access(target, size, true) != nullptr) {
    write(target, size, input(gpr[kEdx], size));
  }
}

}  // namespace x86
