#include "pci/x86_interpreter.h"

#include <algorithm>

#include "pci/portio.h"
#include "pci/x86_bits.h"

namespace x86 {
namespace {

// The architecture's limit on an instruction's length, prefixes included.
constexpr uint32_t kMaxLength = 15;

// Prefixes of an instruction, and accesses of one repetition of it to memory, that cost nothing extra.
// Compiled code needs no more; PUSHA, ENTER and their like pay for theirs.
constexpr uint32_t kFreePrefixes = 2;
constexpr uint32_t kFreeAccesses = 2;

// The ports that PCI BIOS services need, and no other: code in a ROM that can reach the reset, SMI, keyboard
// controller and disk ports can do anything.
constexpr bool port_allowed(uint32_t port, uint32_t size) {
  const uint32_t end = port + size;
  return (port == 0xCF8 && size == 4) ||                     // configuration mechanism 1, address
         (port >= 0xCFC && end <= 0xD00) ||                  // configuration mechanism 1, data
         ((port == 0xCF8 || port == 0xCFA) && size == 1) ||  // configuration mechanism 2, enable and forward
         (port >= 0xC000 && end <= 0xD000) ||                // configuration mechanism 2, data
         (port == 0x80 && size == 1);                        // delay
}

// The number of bytes from `address` to the end of its window, or 0 if it is not in `window`, which may be
// null.
uint32_t bytes_from(const MemoryWindow *window, uint32_t address) {
  if (window == nullptr) {
    return 0;
  }
  const uint32_t offset = address - window->base;
  return offset < window->size ? window->size - offset : 0;
}

uint8_t *host(const MemoryWindow &window, uint32_t address) {
  return static_cast<uint8_t *>(window.host) + (address - window.base);
}

}  // namespace

void Interpreter::fail(CallEnd why) {
  if (!failed()) {
    end_ = why;
  }
}

void Interpreter::out_of_budget() {
  budget_ = 0;
  fail(CallEnd::kBudget);
}

CallEnd Interpreter::run(uint32_t stop) {
  while (!failed() && eip != stop) {
    step();
  }
  return end_;
}

CallEnd Interpreter::step() {
  if (!failed() && spend()) {
    interpret();
  }
  return end_;
}

void Interpreter::interpret() {
  in_ = Instruction{};
  find_code();
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

// Null if no window holds the address.
const MemoryWindow *Interpreter::find_window(uint32_t address) const {
  for (const MemoryWindow &window : windows_) {
    if (address - window.base < window.size) {
      return &window;
    }
  }
  return nullptr;
}

// Finds the bytes of the instruction at eip.
void Interpreter::find_code() {
  uint32_t left = bytes_from(code_window_, eip);
  if (left == 0) {
    code_window_ = find_window(eip);
    left = bytes_from(code_window_, eip);
  }
  code_ = left == 0 ? nullptr : host(*code_window_, eip);
  code_left_ = std::min(left, kMaxLength);
}

// An instruction that goes on where it may not: past its longest form, or past its window.
uint32_t Interpreter::code_ends() {
  const bool window_ends = bytes_from(code_window_, eip) == code_left_;
  fail(window_ends ? CallEnd::kMemory : CallEnd::kInstruction);
  code_left_ = 0;
  return 0;
}

// The host's bytes of an operand, or null after a failure.
uint8_t *Interpreter::access(uint32_t address, uint32_t size, bool to_write) {
  if (failed() || (++in_.accesses > kFreeAccesses && !spend())) {
    return nullptr;
  }
  if (bytes_from(data_window_, address) < size) {
    data_window_ = find_window(address);
  }
  if (bytes_from(data_window_, address) < size || (to_write && !data_window_->writable)) {
    fail(CallEnd::kMemory);
    return nullptr;
  }
  return host(*data_window_, address);
}

uint32_t Interpreter::read(uint32_t address, uint32_t size) {
  const uint8_t *const from = access(address, size, false);
  return from == nullptr ? 0 : load_bytes(from, size);
}

void Interpreter::write(uint32_t address, uint32_t size, uint32_t value) {
  if (uint8_t *const to = access(address, size, true)) {
    store_bytes(to, size, value);
  }
}

uint32_t Interpreter::fetch_signed_byte() {
  return sign_extend(fetch(1), 1);
}

// Sets the low byte, the second byte or the low word of a register.
void Interpreter::set_part(uint32_t number, uint32_t size, uint32_t value) {
  const bool high = size == 1 && (number & 4) != 0;
  const uint32_t shift_by = high ? 8 : 0;
  uint32_t &whole = gpr[size == 1 ? number & 3 : number];
  whole = (whole & ~(mask(size) << shift_by)) | (value & mask(size)) << shift_by;
}

// Reads what follows the memory operand of the operand size: the second half of a far pointer or of bounds.
uint32_t Interpreter::read_after_operand(uint32_t size) {
  return read((in_.rm.where + in_.operand_size) & mask(in_.address_size), size);
}

// Pays for an access to a port. False after a failure, and then the port must not be touched.
bool Interpreter::may_use_port(uint32_t port, uint32_t size) {
  if (failed()) {
    return false;
  }
  if (!port_allowed(port, size)) {
    refused_port_ = port;
    fail(CallEnd::kPort);
    return false;
  }
  return spend(kPortCost);
}

uint32_t Interpreter::input(uint32_t port, uint32_t size) {
  port &= 0xFFFF;
  return may_use_port(port, size) ? port_in(static_cast<uint16_t>(port), size) : 0;
}

void Interpreter::output(uint32_t port, uint32_t size, uint32_t value) {
  port &= 0xFFFF;
  if (may_use_port(port, size)) {
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

// Consumes the prefixes and returns the opcode after them. Segment overrides change nothing: all bases are 0.
uint32_t Interpreter::decode_prefixes() {
  for (uint32_t prefixes = 0;; ++prefixes) {
    const uint32_t byte = fetch(1);
    if (prefixes > kFreePrefixes && !spend()) {
      return byte;
    }
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

// LOCK may precede only a read-modify-write of memory: true if `opcode` and the bytes that follow it are one.
bool Interpreter::lockable(uint32_t opcode) {
  const uint32_t modrm_at = opcode == 0x0F ? 1 : 0;
  if (code_left_ <= modrm_at) {
    return false;
  }
  opcode = opcode == 0x0F ? 0x0F00u | code_[0] : opcode;
  const uint32_t modrm = code_[modrm_at];
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
  const bool is_short = in_.address_size == 2;
  const uint32_t base = is_short ? address_16(mod, rm) : address_32(mod, rm);
  const uint32_t displacement = mod == 1 ? fetch_signed_byte() : mod == 2 ? fetch(in_.address_size) : 0;
  in_.rm.where = is_short ? (base + displacement) & 0xFFFF : base + displacement;
}

// The address before its displacement of mod 1 or 2.
uint32_t Interpreter::address_16(uint32_t mod, uint32_t rm) {
  switch (rm) {
    case 0: return gpr[kEbx] + gpr[kEsi];
    case 1: return gpr[kEbx] + gpr[kEdi];
    case 2: return gpr[kEbp] + gpr[kEsi];
    case 3: return gpr[kEbp] + gpr[kEdi];
    case 4: return gpr[kEsi];
    case 5: return gpr[kEdi];
    case 6: return mod == 0 ? fetch(2) : gpr[kEbp];
    default: return gpr[kEbx];
  }
}

uint32_t Interpreter::address_32(uint32_t mod, uint32_t rm) {
  if (rm != 4) {
    return rm == kEbp && mod == 0 ? fetch(4) : gpr[rm];
  }
  const uint32_t sib = fetch(1);
  const uint32_t base = sib & 7;
  const uint32_t index = sib >> 3 & 7;
  const uint32_t address = base == kEbp && mod == 0 ? fetch(4) : gpr[base];
  return index == kEsp ? address : address + (gpr[index] << (sib >> 6));
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

}  // namespace x86
