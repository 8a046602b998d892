// Interpreter of 32-bit flat protected-mode x86 code: the integer instructions of the i486 and CMOVcc, with
// every operand size, addressing form and prefix. Segments have base 0 and their registers are plain values.
// Floating point, privileged and protection instructions are refused, as is every trap.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

#include "pci/romcall64.h"

namespace x86 {

enum Register : uint32_t { kEax, kEcx, kEdx, kEbx, kEsp, kEbp, kEsi, kEdi };
enum Segment : uint32_t { kEs, kCs, kSs, kDs, kFs, kGs };

inline constexpr uint32_t kCarry = 1u << 0;
inline constexpr uint32_t kAlwaysSet = 1u << 1;
inline constexpr uint32_t kParity = 1u << 2;
inline constexpr uint32_t kAdjust = 1u << 4;
inline constexpr uint32_t kZero = 1u << 6;
inline constexpr uint32_t kSign = 1u << 7;
inline constexpr uint32_t kDirection = 1u << 10;
inline constexpr uint32_t kOverflow = 1u << 11;

// Copies of constant sizes, which the compiler does without a call.
inline uint32_t load_bytes(const uint8_t *from, uint32_t size) {
  uint16_t two;
  uint32_t four;
  switch (size) {
    case 1: return *from;
    case 2: memcpy(&two, from, sizeof(two)); return two;
    default: memcpy(&four, from, sizeof(four)); return four;
  }
}

inline void store_bytes(uint8_t *to, uint32_t size, uint32_t value) {
  switch (size) {
    case 1: *to = static_cast<uint8_t>(value); return;
    case 2: memcpy(to, &value, 2); return;
    default: memcpy(to, &value, sizeof(value)); return;
  }
}

class Interpreter {
 public:
  uint32_t gpr[8] = {};  // by Register
  uint32_t eip = 0;
  uint32_t eflags = kAlwaysSet;
  uint16_t segment[6] = {};  // by Segment

  // Runs in the memory of `windows` until `budget` is spent (see RomMachine). Both must outlive the
  // interpreter.
  Interpreter(std::span<const MemoryWindow> windows, uint64_t &budget) : windows_(windows), budget_(budget) {}

  // Interprets from eip until control reaches `stop` (kReturned) or something fails. The registers are
  // meaningful only after kReturned.
  CallEnd run(uint32_t stop);

  // Interprets one instruction, with its repetitions. After a failure it does nothing.
  CallEnd step();

  // Pushes the low `size` bytes of `value`.
  void push(uint32_t value, uint32_t size);

  // After kPort: the I/O port that was refused.
  uint32_t refused_port() const {
    return refused_port_;
  }

 private:
  struct Operand {
    bool in_memory;
    uint32_t where;  // address, or register number
  };

  // The instruction being interpreted. Sizes are in bytes: 1, 2 or 4.
  struct Instruction {
    uint32_t operand_size = 4;
    uint32_t address_size = 4;
    uint32_t repeat = 0;    // prefix F2 or F3, or 0
    uint32_t accesses = 0;  // to memory operands, by this repetition
    bool lock = false;
    uint32_t reg = 0;  // the ModRM byte's reg field
    Operand rm = {};   // the ModRM byte's r/m field
  };

  bool failed() const {
    return end_ != CallEnd::kReturned;
  }
  void fail(CallEnd why);
  bool spend(uint64_t cost = 1) {
    if (budget_ < cost) {
      out_of_budget();
      return false;
    }
    budget_ -= cost;
    return true;
  }
  void out_of_budget();

  // Memory, instruction bytes, registers, operands and ports. After a failure reads give 0 and writes are
  // dropped.
  const MemoryWindow *find_window(uint32_t address) const;
  void find_code();
  uint8_t *access(uint32_t address, uint32_t size, bool to_write);
  uint32_t read(uint32_t address, uint32_t size);
  void write(uint32_t address, uint32_t size, uint32_t value);
  uint32_t fetch(uint32_t size) {
    if (code_left_ < size) {
      return code_ends();
    }
    const uint32_t value = load_bytes(code_, size);
    code_ += size;
    code_left_ -= size;
    eip += size;
    return value;
  }
  uint32_t code_ends();
  uint32_t fetch_signed_byte();
  uint32_t reg(uint32_t number, uint32_t size) const {
    switch (size) {
      case 1: return gpr[number & 3] >> ((number & 4) != 0 ? 8 : 0) & 0xFF;
      case 2: return gpr[number] & 0xFFFF;
      default: return gpr[number];
    }
  }
  void set_reg(uint32_t number, uint32_t size, uint32_t value) {
    if (size == 4) {
      gpr[number] = value;
    } else {
      set_part(number, size, value);
    }
  }
  void set_part(uint32_t number, uint32_t size, uint32_t value);
  uint32_t load(const Operand &operand, uint32_t size) {
    return operand.in_memory ? read(operand.where, size) : reg(operand.where, size);
  }
  void store(const Operand &operand, uint32_t size, uint32_t value) {
    if (operand.in_memory) {
      write(operand.where, size, value);
    } else {
      set_reg(operand.where, size, value);
    }
  }
  uint32_t read_after_operand(uint32_t size);
  uint32_t pop(uint32_t size);
  bool may_use_port(uint32_t port, uint32_t size);
  uint32_t input(uint32_t port, uint32_t size);
  void output(uint32_t port, uint32_t size, uint32_t value);

  // Decoding.
  void interpret();
  uint32_t decode_prefixes();
  bool lockable(uint32_t opcode);
  void decode_modrm();
  uint32_t address_16(uint32_t mod, uint32_t rm);
  uint32_t address_32(uint32_t mod, uint32_t rm);
  bool memory_operand();

  // Flags.
  bool flag(uint32_t which) const {
    return (eflags & which) != 0;
  }
  void set_flags(uint32_t which, uint32_t values) {
    eflags = (eflags & ~which) | values;
  }
  void set_flag(uint32_t which, bool on) {
    set_flags(which, on ? which : 0);
  }
  bool condition(uint32_t code) const;

  // The opcode maps.
  void one_byte(uint32_t opcode);
  bool register_row(uint32_t opcode);
  void two_byte(uint32_t opcode);
  bool two_byte_row(uint32_t opcode);

  // Arithmetic, logic, shifts and bits.
  uint32_t add(uint32_t a, uint32_t b, bool carry, uint32_t size);
  uint32_t subtract(uint32_t a, uint32_t b, bool borrow, uint32_t size);
  void set_sum_flags(uint64_t wide, uint32_t carries, uint32_t overflow, uint32_t size);
  uint32_t logic(uint32_t result, uint32_t size);
  uint32_t alu(uint32_t operation, uint32_t a, uint32_t b, uint32_t size);
  void alu_to(const Operand &target, uint32_t operation, uint32_t source, uint32_t size);
  void alu_operands(uint32_t opcode, uint32_t size);
  void alu_immediate(uint32_t opcode, uint32_t size);
  void increment(const Operand &target, bool down, uint32_t size);
  void group_unary(uint32_t size);
  void multiply(bool is_signed, uint32_t factor, uint32_t size);
  void multiply_to_reg(uint32_t a, uint32_t b);
  void divide(bool is_signed, uint32_t divisor, uint32_t size);
  uint32_t shift(uint32_t operation, uint32_t value, uint32_t count, uint32_t size);
  void double_shift(bool right, uint32_t count);
  void bit(uint32_t operation, uint32_t index);
  void bit_by_immediate();
  void bit_by_register(uint32_t operation);
  void bit_scan(bool reverse);
  void decimal_adjust(bool subtracting);
  void ascii_adjust(bool subtracting);
  void ascii_divide();
  void ascii_multiply();

  // Moves, the stack and strings.
  void mov_immediate(uint32_t size);
  void mov_segment(bool to_segment);
  void mov_offset(uint32_t opcode, uint32_t size);
  void mov_extended(bool is_signed, uint32_t source_size);
  void mov_if(bool holds);
  void exchange(const Operand &a, const Operand &b, uint32_t size);
  void compare_exchange(uint32_t size);
  void exchange_add(uint32_t size);
  void load_far_pointer(Segment into);
  void convert(uint32_t opcode);
  void push_all();
  void pop_all();
  void pop_operand();
  void pop_flags();
  void enter();
  void leave();
  void string(uint32_t opcode, uint32_t size);
  void string_once(uint32_t kind, uint32_t size);
  void input_string(uint32_t target, uint32_t size);

  // Control flow.
  void jump(uint32_t target);
  void jump_relative(uint32_t displacement, bool taken);
  void call(uint32_t target);
  void call_relative(uint32_t displacement);
  void jump_far(uint32_t target, uint32_t selector);
  void call_far(uint32_t target, uint32_t selector);
  void group_inc_dec_branch(uint32_t opcode, uint32_t size);
  void return_near(uint32_t extra);
  void return_far(uint32_t extra);
  void return_from_interrupt();
  void loop(uint32_t opcode);
  void bound();
  void cpuid();

  std::span<const MemoryWindow> windows_;
  const MemoryWindow *code_window_ = nullptr;  // of the last instruction
  const MemoryWindow *data_window_ = nullptr;  // of the last operand
  const uint8_t *code_ = nullptr;              // the instruction's bytes from eip on
  uint32_t code_left_ = 0;                     // the number of bytes at code_ that may be fetched
  uint64_t &budget_;
  CallEnd end_ = CallEnd::kReturned;
  uint32_t refused_port_ = 0;
  Instruction in_;
};

}  // namespace x86
