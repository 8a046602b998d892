#include "pci/x86_interpreter.h"

#include <bit>
#include <cstring>

#include "pci/portio.h"

namespace x86 {
namespace {

// The architecture's limit on an instruction's length, prefixes included.
constexpr uint32_t kMaxLength = 15;

// What POPF may change: the arithmetic flags, DF, and the NT, AC and ID bits that code toggles to tell
// processors apart. Of the others IF stays as it is, like CLI and STI leave it, and TF would only trap.
constexpr uint32_t kPopfMask = 0x00244CD5;
// What LAHF and SAHF move.
constexpr uint32_t kLowFlags = kCarry | kParity | kAdjust | kZero | kSign;

constexpr uint32_t kAh = 4;  // as a byte register's number

constexpr uint32_t kRepeatWhileZero = 0xF3;  // for CMPS and SCAS; F2 repeats while not zero

enum AluOperation : uint32_t { kAdd, kOr, kAdc, kSbb, kAnd, kSub, kXor, kCmp };
enum ShiftOperation : uint32_t { kRol, kRor, kRcl, kRcr, kShl, kShr, kSal, kSar };
enum BitOperation : uint32_t { kBt, kBts, kBtr, kBtc };

constexpr uint32_t bits(uint32_t size) {
  return size * 8;
}

constexpr uint32_t mask(uint32_t size) {
  return 0xFFFFFFFF >> (32 - bits(size));
}

constexpr bool sign(uint32_t value, uint32_t size) {
  return (value >> (bits(size) - 1) & 1) != 0;
}

constexpr int64_t as_signed(uint64_t value, uint32_t size) {
  const uint32_t unused = 64 - bits(size);
  return static_cast<int64_t>(value << unused) >> unused;
}

constexpr uint32_t sign_extend(uint32_t value, uint32_t size) {
  return static_cast<uint32_t>(as_signed(value, size));
}

}  // namespace

// Running.

bool Interpreter::failed() const {
  return end_ != CallEnd::kReturned;
}

void Interpreter::fail(CallEnd why) {
  if (!failed()) {
    end_ = why;
  }
}

// Takes one instruction, or one repetition of a string instruction, from the budget.
bool Interpreter::spend() {
  if (budget_ == 0) {
    fail(CallEnd::kBudget);
    return false;
  }
  --budget_;
  return true;
}

CallEnd Interpreter::run(uint32_t stop) {
  while (!failed() && eip != stop) {
    if (spend()) {
      step();
    }
  }
  return end_;
}

void Interpreter::step() {
  in_ = Instruction{};
  const uint32_t opcode = decode_prefixes();
  if (in_.lock && !lockable(opcode)) {
    return fail(CallEnd::kInstruction);
  }
  if (opcode == 0x0F) {
    two_byte(fetch(1));
  } else {
    one_byte(opcode);
  }
}

// Memory, instruction bytes, registers, operands.

// The host's bytes behind an access, or null.
uint8_t *Interpreter::host(uint32_t address, uint32_t size, bool to_write) const {
  for (const MemoryWindow &window : windows_) {
    const uint32_t offset = address - window.base;
    if (address < window.base || offset >= window.size) {
      continue;
    }
    if (window.size - offset < size || (to_write && !window.writable)) {
      return nullptr;
    }
    return static_cast<uint8_t *>(window.host) + offset;
  }
  return nullptr;
}

uint32_t Interpreter::read(uint32_t address, uint32_t size) {
  uint32_t value = 0;
  if (failed()) {
    return value;
  }
  if (const uint8_t *from = host(address, size, false)) {
    std::memcpy(&value, from, size);
  } else {
    fail(CallEnd::kMemory);
  }
  return value;
}

void Interpreter::write(uint32_t address, uint32_t size, uint32_t value) {
  if (failed()) {
    return;
  }
  if (uint8_t *to = host(address, size, true)) {
    std::memcpy(to, &value, size);
  } else {
    fail(CallEnd::kMemory);
  }
}

uint32_t Interpreter::fetch(uint32_t size) {
  in_.length += size;
  if (in_.length > kMaxLength) {
    fail(CallEnd::kInstruction);
  }
  const uint32_t value = read(eip, size);
  eip += size;
  return value;
}

uint32_t Interpreter::fetch_signed_byte() {
  return sign_extend(fetch(1), 1);
}

uint32_t Interpreter::reg(uint32_t number, uint32_t size) const {
  if (size == 1) {
    return gpr[number & 3] >> (number & 4 ? 8 : 0) & 0xFF;
  }
  return gpr[number] & mask(size);
}

void Interpreter::set_reg(uint32_t number, uint32_t size, uint32_t value) {
  const bool high = size == 1 && (number & 4);
  const uint32_t shift_by = high ? 8 : 0;
  uint32_t &whole = gpr[size == 1 ? number & 3 : number];
  whole = (whole & ~(mask(size) << shift_by)) | (value & mask(size)) << shift_by;
}

uint32_t Interpreter::load(const Operand &operand, uint32_t size) {
  return operand.in_memory ? read(operand.where, size) : reg(operand.where, size);
}

void Interpreter::store(const Operand &operand, uint32_t size, uint32_t value) {
  if (operand.in_memory) {
    write(operand.where, size, value);
  } else {
    set_reg(operand.where, size, value);
  }
}

// Reads what follows the memory operand of the operand size: the second half of a far pointer or of bounds.
uint32_t Interpreter::read_behind_operand(uint32_t size) {
  return read((in_.rm.where + in_.operand_size) & mask(in_.address_size), size);
}

uint32_t Interpreter::input(uint32_t port, uint32_t size) {
  return failed() ? 0 : port_in(static_cast<uint16_t>(port), size);
}

void Interpreter::output(uint32_t port, uint32_t size, uint32_t value) {
  if (!failed()) {
    port_out(static_cast<uint16_t>(port), size, value);
  }
}

void Interpreter::push(uint32_t value, uint32_t size) {
  gpr[kEsp] -= size;
  write(gpr[kEsp], size, value);
}

uint32_t Interpreter::pop(uint32_t size) {
  const uint32_t value = read(gpr[kEsp], size);
  gpr[kEsp] += size;
  return value;
}

// Decoding.

// One line for each group of opcodes.
// clang-format off

// Consumes the prefixes and returns the opcode behind them. Segment overrides change nothing: all bases are 0.
uint32_t Interpreter::decode_prefixes() {
  for (;;) {
    const uint32_t byte = fetch(1);
    switch (byte) {
      case 0x26: case 0x2E: case 0x36: case 0x3E: case 0x64: case 0x65: break;
      case 0x66: in_.operand_size = 2; break;
      case 0x67: in_.address_size = 2; break;
      case 0xF0: in_.lock = true; break;
      case 0xF2: case 0xF3: in_.repeat = byte; break;
      default: return byte;
    }
  }
}

// Whether LOCK may stand before `opcode` and the bytes that follow it: only a read-modify-write of memory.
bool Interpreter::lockable(uint32_t opcode) {
  uint32_t modrm_at = eip;
  if (opcode == 0x0F) {
    opcode = 0x0F00 | read(modrm_at++, 1);
  }
  const uint32_t modrm = read(modrm_at, 1);
  const uint32_t field = modrm >> 3 & 7;
  if (modrm >> 6 == 3) {
    return false;
  }
  if (opcode < 0x38) {
    return (opcode & 7) < 2;  // ALU operations into r/m, but not CMP
  }
  switch (opcode) {
    case 0x80: case 0x81: case 0x82: case 0x83: return field != kCmp;
    case 0x86: case 0x87: return true;  // XCHG
    case 0xF6: case 0xF7: return field == 2 || field == 3;  // NOT, NEG
    case 0xFE: case 0xFF: return field < 2;  // INC, DEC
    case 0x0FBA: return field > 4;  // BTS, BTR, BTC
    case 0x0FAB: case 0x0FB3: case 0x0FBB: return true;  // BTS, BTR, BTC
    case 0x0FB0: case 0x0FB1: case 0x0FC0: case 0x0FC1: return true;  // CMPXCHG, XADD
    default: return false;
  }
}

// clang-format on

void Interpreter::decode_modrm() {
  const uint32_t modrm = fetch(1);
  const uint32_t mod = modrm >> 6;
  const uint32_t rm = modrm & 7;
  in_.reg = modrm >> 3 & 7;
  in_.rm = {mod != 3, rm};
  if (mod == 3) {
    return;
  }
  in_.rm.where = in_.address_size == 2 ? address_16(mod, rm) : address_32(mod, rm);
}

uint32_t Interpreter::address_16(uint32_t mod, uint32_t rm) {
  uint32_t address = 0;
  switch (rm) {
    case 0: address = gpr[kEbx] + gpr[kEsi]; break;
    case 1: address = gpr[kEbx] + gpr[kEdi]; break;
    case 2: address = gpr[kEbp] + gpr[kEsi]; break;
    case 3: address = gpr[kEbp] + gpr[kEdi]; break;
    case 4: address = gpr[kEsi]; break;
    case 5: address = gpr[kEdi]; break;
    case 6: address = mod == 0 ? fetch(2) : gpr[kEbp]; break;
    default: address = gpr[kEbx]; break;
  }
  if (mod == 1) {
    address += fetch_signed_byte();
  }
  if (mod == 2) {
    address += fetch(2);
  }
  return address & 0xFFFF;
}

uint32_t Interpreter::address_32(uint32_t mod, uint32_t rm) {
  uint32_t address = 0;
  if (rm == 4) {
    const uint32_t sib = fetch(1);
    const uint32_t base = sib & 7;
    const uint32_t index = sib >> 3 & 7;
    address = base == kEbp && mod == 0 ? fetch(4) : gpr[base];
    if (index != kEsp) {
      address += gpr[index] << (sib >> 6);
    }
  } else {
    address = rm == kEbp && mod == 0 ? fetch(4) : gpr[rm];
  }
  if (mod == 1) {
    address += fetch_signed_byte();
  }
  if (mod == 2) {
    address += fetch(4);
  }
  return address;
}

// Decodes the ModRM byte of an instruction that takes no register there.
bool Interpreter::memory_operand() {
  decode_modrm();
  if (!in_.rm.in_memory) {
    fail(CallEnd::kInstruction);
  }
  return in_.rm.in_memory;
}

// Flags.

bool Interpreter::flag(uint32_t which) const {
  return (eflags & which) != 0;
}

void Interpreter::set_flag(uint32_t which, bool on) {
  eflags = on ? eflags | which : eflags & ~which;
}

void Interpreter::set_result_flags(uint32_t result, uint32_t size) {
  set_flag(kZero, (result & mask(size)) == 0);
  set_flag(kSign, sign(result, size));
  set_flag(kParity, std::popcount(result & 0xFF) % 2 == 0);
}

// The condition in the low four bits of Jcc and SETcc.
bool Interpreter::condition(uint32_t code) const {
  bool holds = false;
  switch (code >> 1 & 7) {
    case 0: holds = flag(kOverflow); break;
    case 1: holds = flag(kCarry); break;
    case 2: holds = flag(kZero); break;
    case 3: holds = flag(kCarry | kZero); break;
    case 4: holds = flag(kSign); break;
    case 5: holds = flag(kParity); break;
    case 6: holds = flag(kSign) != flag(kOverflow); break;
    default: holds = flag(kZero) || flag(kSign) != flag(kOverflow); break;
  }
  return holds != ((code & 1) != 0);
}

// Opcode maps.
// One line for each group of opcodes.
// clang-format off

// The opcodes that come in rows of eight, one for each register or condition. False if `opcode` is not one.
bool Interpreter::register_row(uint32_t opcode) {
  const uint32_t size = in_.operand_size;
  const Operand target{false, opcode & 7};
  switch (opcode & 0xF8) {
    case 0x40: increment(target, false, size); return true;
    case 0x48: increment(target, true, size); return true;
    case 0x50: push(reg(target.where, size), size); return true;
    case 0x58: set_reg(target.where, size, pop(size)); return true;
    case 0x70: case 0x78: jump_relative(fetch_signed_byte(), condition(opcode)); return true;
    case 0x90: exchange(target, {false, kEax}, size); return true;
    case 0xB0: set_reg(target.where, 1, fetch(1)); return true;
    case 0xB8: set_reg(target.where, size, fetch(size)); return true;
    default: return false;
  }
}

void Interpreter::one_byte(uint32_t opcode) {
  if (register_row(opcode)) {
    return;
  }
  // Where an instruction comes in pairs of opcodes, the even one works on bytes.
  const uint32_t full = in_.operand_size;
  const uint32_t size = opcode & 1 ? full : 1;
  if (opcode < 0x40 && (opcode & 7) < 6) {
    return alu_operands(opcode, size);
  }

  switch (opcode) {
    case 0x06: case 0x0E: case 0x16: case 0x1E: return push(segment[opcode >> 3], full);
    case 0x07: case 0x17: case 0x1F: segment[opcode >> 3] = static_cast<uint16_t>(pop(full)); return;
    case 0x27: return decimal_adjust(false);
    case 0x2F: return decimal_adjust(true);
    case 0x37: return ascii_adjust(false);
    case 0x3F: return ascii_adjust(true);
    case 0x60: return push_all();
    case 0x61: return pop_all();
    case 0x62: return bound();
    case 0x68: return push(fetch(full), full);
    case 0x69: decode_modrm(); return multiply_to_reg(load(in_.rm, full), fetch(full));
    case 0x6A: return push(fetch_signed_byte(), full);
    case 0x6B: decode_modrm(); return multiply_to_reg(load(in_.rm, full), fetch_signed_byte());
    case 0x6C: case 0x6D: case 0x6E: case 0x6F: return string(opcode, size);
    case 0x80: case 0x81: case 0x82: case 0x83: return alu_immediate(opcode, size);
    case 0x84: case 0x85: decode_modrm(); logic(load(in_.rm, size) & reg(in_.reg, size), size); return;
    case 0x86: case 0x87: decode_modrm(); return exchange(in_.rm, {false, in_.reg}, size);
    case 0x88: case 0x89: decode_modrm(); return store(in_.rm, size, reg(in_.reg, size));
    case 0x8A: case 0x8B: decode_modrm(); return set_reg(in_.reg, size, load(in_.rm, size));
    case 0x8C: return mov_segment(false);
    case 0x8D:  // LEA
      if (memory_operand()) {
        set_reg(in_.reg, full, in_.rm.where);
      }
      return;
    case 0x8E: return mov_segment(true);
    case 0x8F: return pop_operand();
    case 0x98: case 0x99: return convert(opcode);
    case 0x9A: {
      const uint32_t target = fetch(full);
      return call_far(target, fetch(2));
    }
    case 0x9C: return push(eflags, full);
    case 0x9D: return pop_flags();
    case 0x9E: eflags = (eflags & ~kLowFlags) | (reg(kAh, 1) & kLowFlags); return;
    case 0x9F: return set_reg(kAh, 1, eflags);
    case 0xA0: case 0xA1: case 0xA2: case 0xA3: return mov_offset(opcode, size);
    case 0xA4: case 0xA5: case 0xA6: case 0xA7: case 0xAA: case 0xAB: case 0xAC: case 0xAD: case 0xAE:
    case 0xAF: return string(opcode, size);
    case 0xA8: case 0xA9: logic(reg(kEax, size) & fetch(size), size); return;
    case 0xC0: case 0xC1: case 0xD0: case 0xD1: case 0xD2: case 0xD3: {
      decode_modrm();
      const uint32_t count = opcode < 0xD0 ? fetch(1) : opcode < 0xD2 ? 1 : reg(kEcx, 1);
      return store(in_.rm, size, shift(in_.reg, load(in_.rm, size), count, size));
    }
    case 0xC2: return return_near(fetch(2));
    case 0xC3: return return_near(0);
    case 0xC4: return load_far_pointer(kEs);
    case 0xC5: return load_far_pointer(kDs);
    case 0xC6: case 0xC7:
      decode_modrm();
      if (in_.reg != 0) {
        return fail(CallEnd::kInstruction);
      }
      return store(in_.rm, size, fetch(size));
    case 0xC8: return enter();
    case 0xC9: return leave();
    case 0xCA: return return_far(fetch(2));
    case 0xCB: return return_far(0);
    case 0xCE:  // INTO
      if (flag(kOverflow)) {
        fail(CallEnd::kInstruction);
      }
      return;
    case 0xCF: return return_from_interrupt();
    case 0xD4: return ascii_divide();
    case 0xD5: return ascii_multiply();
    case 0xD6: return set_reg(kEax, 1, flag(kCarry) ? 0xFF : 0);  // SALC
    case 0xD7:  // XLAT
      return set_reg(kEax, 1, read((gpr[kEbx] + reg(kEax, 1)) & mask(in_.address_size), 1));
    case 0xE0: case 0xE1: case 0xE2: case 0xE3: return loop(opcode);
    case 0xE4: case 0xE5: return set_reg(kEax, size, input(fetch(1), size));
    case 0xE6: case 0xE7: return output(fetch(1), size, reg(kEax, size));
    case 0xE8: {
      const uint32_t displacement = fetch(full);
      return call(eip + displacement);
    }
    case 0xE9: return jump_relative(fetch(full), true);
    case 0xEA: {
      const uint32_t target = fetch(full);
      return jump_far(target, fetch(2));
    }
    case 0xEB: return jump_relative(fetch_signed_byte(), true);
    case 0xEC: case 0xED: return set_reg(kEax, size, input(gpr[kEdx], size));
    case 0xEE: case 0xEF: return output(gpr[kEdx], size, reg(kEax, size));
    case 0xF5: return set_flag(kCarry, !flag(kCarry));
    case 0xF6: case 0xF7: return group_unary(size);
    case 0xF8: return set_flag(kCarry, false);
    case 0xF9: return set_flag(kCarry, true);
    case 0xFA: case 0xFB: return;  // CLI and STI: there are no interrupts
    case 0xFC: return set_flag(kDirection, false);
    case 0xFD: return set_flag(kDirection, true);
    case 0xFE: case 0xFF: return group_inc_dec_branch(opcode, size);
    default: return fail(CallEnd::kInstruction);
  }
}

void Interpreter::two_byte(uint32_t opcode) {
  const uint32_t full = in_.operand_size;
  const uint32_t size = opcode & 1 ? full : 1;
  switch (opcode & 0xF8) {
    case 0x18: decode_modrm(); return;  // the NOPs with an operand
    case 0x80: case 0x88: return jump_relative(fetch(full), condition(opcode));
    case 0x90: case 0x98: decode_modrm(); return store(in_.rm, 1, condition(opcode));
    case 0xC8: gpr[opcode & 7] = __builtin_bswap32(gpr[opcode & 7]); return;
    default: break;
  }
  switch (opcode) {
    case 0xA0: return push(segment[kFs], full);
    case 0xA1: segment[kFs] = static_cast<uint16_t>(pop(full)); return;
    case 0xA2: return cpuid();
    case 0xA3: return bit_by_register(kBt);
    case 0xA4: case 0xAC: decode_modrm(); return double_shift(opcode == 0xAC, fetch(1));
    case 0xA5: case 0xAD: decode_modrm(); return double_shift(opcode == 0xAD, reg(kEcx, 1));
    case 0xA8: return push(segment[kGs], full);
    case 0xA9: segment[kGs] = static_cast<uint16_t>(pop(full)); return;
    case 0xAB: return bit_by_register(kBts);
    case 0xAF: decode_modrm(); return multiply_to_reg(reg(in_.reg, full), load(in_.rm, full));
    case 0xB0: case 0xB1: return compare_exchange(size);
    case 0xB2: return load_far_pointer(kSs);
    case 0xB3: return bit_by_register(kBtr);
    case 0xB4: return load_far_pointer(kFs);
    case 0xB5: return load_far_pointer(kGs);
    case 0xB6: case 0xB7: return mov_extended(false, opcode & 1 ? 2 : 1);
    case 0xBA:
      decode_modrm();
      if (in_.reg < 4) {
        return fail(CallEnd::kInstruction);
      }
      return bit(in_.reg - 4, fetch(1));
    case 0xBB: return bit_by_register(kBtc);
    case 0xBC: case 0xBD: return bit_scan(opcode == 0xBD);
    case 0xBE: case 0xBF: return mov_extended(true, opcode & 1 ? 2 : 1);
    case 0xC0: case 0xC1: return exchange_add(size);
    default: return fail(CallEnd::kInstruction);
  }
}

// clang-format on
// Arithmetic and logic.

uint32_t Interpreter::add(uint32_t a, uint32_t b, bool carry, uint32_t size) {
  const uint64_t wide = uint64_t{a} + b + carry;
  const uint32_t result = static_cast<uint32_t>(wide) & mask(size);
  set_flag(kCarry, wide >> bits(size) & 1);
  set_flag(kAdjust, (a ^ b ^ result) & 0x10);
  set_flag(kOverflow, sign((a ^ result) & (b ^ result), size));
  set_result_flags(result, size);
  return result;
}

uint32_t Interpreter::subtract(uint32_t a, uint32_t b, bool borrow, uint32_t size) {
  const uint64_t wide = uint64_t{a} - b - borrow;
  const uint32_t result = static_cast<uint32_t>(wide) & mask(size);
  set_flag(kCarry, wide >> bits(size) & 1);
  set_flag(kAdjust, (a ^ b ^ result) & 0x10);
  set_flag(kOverflow, sign((a ^ b) & (a ^ result), size));
  set_result_flags(result, size);
  return result;
}

uint32_t Interpreter::logic(uint32_t result, uint32_t size) {
  set_flag(kCarry | kOverflow | kAdjust, false);  // AF is undefined; processors clear it
  set_result_flags(result, size);
  return result;
}

uint32_t Interpreter::alu(uint32_t operation, uint32_t a, uint32_t b, uint32_t size) {
  switch (operation) {
    case kAdd: return add(a, b, false, size);
    case kOr: return logic(a | b, size);
    case kAdc: return add(a, b, flag(kCarry), size);
    case kSbb: return subtract(a, b, flag(kCarry), size);
    case kAnd: return logic(a & b, size);
    case kXor: return logic(a ^ b, size);
    default: return subtract(a, b, false, size);  // SUB, CMP
  }
}

void Interpreter::alu_to(const Operand &target, uint32_t operation, uint32_t source, uint32_t size) {
  const uint32_t result = alu(operation, load(target, size), source & mask(size), size);
  if (operation != kCmp) {
    store(target, size, result);
  }
}

// Opcodes 00 to 3D: the operation in bits 3 to 5, the operands in bits 0 to 2.
void Interpreter::alu_operands(uint32_t opcode, uint32_t size) {
  const uint32_t operation = opcode >> 3;
  switch (opcode & 6) {
    case 0: decode_modrm(); return alu_to(in_.rm, operation, reg(in_.reg, size), size);
    case 2: decode_modrm(); return alu_to({false, in_.reg}, operation, load(in_.rm, size), size);
    default: return alu_to({false, kEax}, operation, fetch(size), size);
  }
}

void Interpreter::alu_immediate(uint32_t opcode, uint32_t size) {
  decode_modrm();
  alu_to(in_.rm, in_.reg, opcode == 0x81 ? fetch(size) : fetch_signed_byte(), size);
}

// INC and DEC leave CF alone.
void Interpreter::increment(const Operand &target, bool down, uint32_t size) {
  const bool carry = flag(kCarry);
  alu_to(target, down ? kSub : kAdd, 1, size);
  set_flag(kCarry, carry);
}

// Opcodes F6 and F7.
void Interpreter::group_unary(uint32_t size) {
  decode_modrm();
  const uint32_t value = load(in_.rm, size);
  switch (in_.reg) {
    case 0: logic(value & fetch(size), size); return;  // TEST
    case 1: return fail(CallEnd::kInstruction);
    case 2: return store(in_.rm, size, ~value);
    case 3: return store(in_.rm, size, subtract(0, value, false, size));
    case 4: return multiply(false, value, size);
    case 5: return multiply(true, value, size);
    case 6: return divide(false, value, size);
    default: return divide(true, value, size);
  }
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
  const uint32_t selector = far ? read_behind_operand(2) : 0;
  switch (in_.reg) {
    case 2: return call(target);
    case 3: return call_far(target, selector);
    case 4: return jump(target);
    case 5: return jump_far(target, selector);
    case 6: return push(target, size);
    default: return fail(CallEnd::kInstruction);
  }
}

// MUL and IMUL into AX, DX:AX or EDX:EAX.
void Interpreter::multiply(bool is_signed, uint32_t factor, uint32_t size) {
  const uint32_t accumulator = reg(kEax, size);
  const uint64_t product = is_signed
                               ? static_cast<uint64_t>(as_signed(accumulator, size) * as_signed(factor, size))
                               : uint64_t{accumulator} * factor;
  const uint64_t low_half =
      is_signed ? static_cast<uint64_t>(as_signed(product, size)) : product & mask(size);
  set_flag(kCarry | kOverflow, product != low_half);
  if (size == 1) {
    set_reg(kEax, 2, static_cast<uint32_t>(product));
  } else {
    set_reg(kEax, size, static_cast<uint32_t>(product));
    set_reg(kEdx, size, static_cast<uint32_t>(product >> bits(size)));
  }
}

// IMUL into the register of the ModRM byte.
void Interpreter::multiply_to_reg(uint32_t a, uint32_t b) {
  const uint32_t size = in_.operand_size;
  const int64_t product = as_signed(a, size) * as_signed(b, size);
  const uint32_t result = static_cast<uint32_t>(product);
  set_flag(kCarry | kOverflow, as_signed(result, size) != product);
  set_reg(in_.reg, size, result);
}

void Interpreter::divide(bool is_signed, uint32_t divisor, uint32_t size) {
  const uint64_t dividend =
      size == 1 ? reg(kEax, 2) : uint64_t{reg(kEdx, size)} << bits(size) | reg(kEax, size);
  if (divisor == 0) {
    return fail(CallEnd::kDivision);
  }
  uint64_t quotient = 0;
  uint64_t remainder = 0;
  bool fits = false;
  if (is_signed) {
    const int64_t n = as_signed(dividend, size * 2);
    const int64_t d = as_signed(divisor, size);
    if (n == INT64_MIN && d == -1) {
      return fail(CallEnd::kDivision);
    }
    quotient = static_cast<uint64_t>(n / d);
    remainder = static_cast<uint64_t>(n % d);
    fits = as_signed(quotient, size) == n / d;
  } else {
    quotient = dividend / divisor;
    remainder = dividend % divisor;
    fits = quotient <= mask(size);
  }
  if (!fits) {
    return fail(CallEnd::kDivision);
  }
  set_reg(kEax, size, static_cast<uint32_t>(quotient));
  set_reg(size == 1 ? kAh : uint32_t{kEdx}, size, static_cast<uint32_t>(remainder));
}

// Shifts and rotates. A count of 0 changes no flag; OF is
// set as for a count of 1, with others it is undefined.
uint32_t Interpreter::shift(uint32_t operation, uint32_t value, uint32_t count, uint32_t size) {
  count &= 31;
  if (count == 0) {
    return value;
  }
  const uint32_t width = bits(size);
  const uint32_t turn = count % width;
  const uint32_t carry_turn = count % (width + 1);  // RCL and RCR rotate through CF
  const uint64_t with_carry = uint64_t{flag(kCarry)} << width | value;
  uint64_t result = 0;
  bool carry = false;
  switch (operation) {
    case kRol:
      result = uint64_t{value} << turn | value >> ((width - turn) % width);
      carry = result & 1;
      break;
    case kRor:
      result = value >> turn | uint64_t{value} << ((width - turn) % width);
      carry = result >> (width - 1) & 1;
      break;
    case kRcl:
      result = with_carry << carry_turn | with_carry >> (width + 1 - carry_turn);
      carry = result >> width & 1;
      break;
    case kRcr:
      result = with_carry >> carry_turn | with_carry << (width + 1 - carry_turn);
      carry = result >> width & 1;
      break;
    case kShr:
      result = value >> count;
      carry = value >> (count - 1) & 1;
      break;
    case kSar:
      result = static_cast<uint64_t>(as_signed(value, size) >> count);
      carry = as_signed(value, size) >> (count - 1) & 1;
      break;
    default:  // SHL, SAL
      result = uint64_t{value} << count;
      carry = result >> width & 1;
      break;
  }
  const uint32_t low = static_cast<uint32_t>(result) & mask(size);
  const bool left = operation == kRol || operation == kRcl || operation == kShl || operation == kSal;
  set_flag(kCarry, carry);
  set_flag(kOverflow, left ? sign(low, size) != carry : sign(low ^ low << 1, size));
  if (operation == kShr) {
    set_flag(kOverflow, sign(value, size));
  }
  if (operation == kSar) {
    set_flag(kOverflow, false);
  }
  if (operation >= kShl) {
    set_result_flags(low, size);
  }
  return low;
}

void Interpreter::double_shift(bool right, uint32_t count) {
  const uint32_t size = in_.operand_size;
  const uint32_t width = bits(size);
  const uint32_t target = load(in_.rm, size);
  const uint32_t source = reg(in_.reg, size);
  count &= 31;
  if (count == 0) {
    return store(in_.rm, size, target);  // the processor writes all the same
  }
  uint64_t result = 0;
  if (right) {
    const uint64_t pair = uint64_t{source} << width | target;
    set_flag(kCarry, pair >> (count - 1) & 1);
    result = pair >> count;
  } else {
    const uint64_t pair = uint64_t{target} << width | source;
    set_flag(kCarry, pair >> (2 * width - count) & 1);
    result = pair << count >> width;
  }
  const uint32_t low = static_cast<uint32_t>(result) & mask(size);
  set_flag(kOverflow, sign(low ^ target, size));
  set_result_flags(low, size);
  store(in_.rm, size, low);
}

// BT, BTS, BTR and BTC of bit `index`, modulo the operand's width, of the r/m operand.
void Interpreter::bit(uint32_t operation, uint32_t index) {
  const uint32_t size = in_.operand_size;
  const uint32_t selected = 1u << (index % bits(size));
  const uint32_t value = load(in_.rm, size);
  set_flag(kCarry, value & selected);
  switch (operation) {
    case kBts: return store(in_.rm, size, value | selected);
    case kBtr: return store(in_.rm, size, value & ~selected);
    case kBtc: return store(in_.rm, size, value ^ selected);
    default: return;
  }
}

// A register is a signed bit offset: in memory it reaches beyond the operand, on either side.
void Interpreter::bit_by_register(uint32_t operation) {
  decode_modrm();
  const uint32_t size = in_.operand_size;
  const int64_t index = as_signed(reg(in_.reg, size), size);
  if (in_.rm.in_memory) {
    const int64_t units = index >> (size == 2 ? 4 : 5);
    in_.rm.where += static_cast<uint32_t>(units) * size;
    in_.rm.where &= mask(in_.address_size);
  }
  bit(operation, static_cast<uint32_t>(index));
}

// With a zero source the target is undefined; it is left as it is.
void Interpreter::bit_scan(bool reverse) {
  decode_modrm();
  const uint32_t size = in_.operand_size;
  const uint32_t value = load(in_.rm, size);
  set_flag(kZero, value == 0);
  if (value == 0) {
    return;
  }
  set_reg(in_.reg, size,
          static_cast<uint32_t>(reverse ? 31 - std::countl_zero(value) : std::countr_zero(value)));
}

// DAA and DAS.
void Interpreter::decimal_adjust(bool subtracting) {
  const uint32_t al = reg(kEax, 1);
  const bool low = (al & 0xF) > 9 || flag(kAdjust);
  const bool high = al > 0x99 || flag(kCarry);
  const uint32_t by = (low ? 0x06u : 0u) + (high ? 0x60u : 0u);
  const uint32_t result = subtracting ? al - by : al + by;
  set_flag(kCarry, high || (subtracting && low && al < 6));
  set_flag(kAdjust, low);
  set_result_flags(result, 1);
  set_reg(kEax, 1, result);
}

// AAA and AAS.
void Interpreter::ascii_adjust(bool subtracting) {
  const bool adjust = reg(kEax, 1) % 16 > 9 || flag(kAdjust);
  if (adjust) {
    set_reg(kEax, 2, subtracting ? gpr[kEax] - 0x106 : gpr[kEax] + 0x106);
  }
  set_flag(kAdjust | kCarry, adjust);
  set_reg(kEax, 1, reg(kEax, 1) & 0xF);
}

// AAM.
void Interpreter::ascii_divide() {
  const uint32_t base = fetch(1);
  const uint32_t al = reg(kEax, 1);
  if (base == 0) {
    return fail(CallEnd::kDivision);
  }
  set_reg(kEax, 2, al / base << 8 | al % base);
  set_result_flags(al % base, 1);
}

// AAD.
void Interpreter::ascii_multiply() {
  const uint32_t result = (reg(kEax, 1) + reg(kAh, 1) * fetch(1)) & 0xFF;
  set_reg(kEax, 2, result);
  set_result_flags(result, 1);
}

// Moves.

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
  if (opcode & 2) {
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
  segment[into] = static_cast<uint16_t>(read_behind_operand(2));
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

// One string instruction with its repetitions. Both REP prefixes
// repeat; which of the two it is matters to CMPS and SCAS only.
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
      write(target, size, input(gpr[kEdx], size));
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

// Control flow.

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
  const int64_t upper = as_signed(read_behind_operand(size), size);
  if (index < lower || index > upper) {
    fail(CallEnd::kInstruction);
  }
}

// Answers as an i486 without extensions, so that code does not choose instructions that are unknown here.
void Interpreter::cpuid() {
  const bool vendor = gpr[kEax] == 0;
  gpr[kEax] = vendor ? 1 : 0x480;
  gpr[kEbx] = vendor ? 0x756E6547 : 0;  // "Genu"
  gpr[kEdx] = vendor ? 0x49656E69 : 0;  // "ineI"
  gpr[kEcx] = vendor ? 0x6C65746E : 0;  // "ntel"
}

}  // namespace x86
