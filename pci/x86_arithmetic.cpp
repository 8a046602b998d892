// Arithmetic, logic, shifts and bits.
#include <bit>

#include "pci/x86_bits.h"
#include "pci/x86_interpreter.h"

namespace x86 {

uint32_t Interpreter::add(uint32_t a, uint32_t b, bool carry, uint32_t size) {
  const uint64_t wide = uint64_t{a} + b + carry;
  const uint32_t result = static_cast<uint32_t>(wide) & mask(size);
  set_sum_flags(wide, a ^ b ^ result, (a ^ result) & (b ^ result), size);
  return result;
}

uint32_t Interpreter::subtract(uint32_t a, uint32_t b, bool borrow, uint32_t size) {
  const uint64_t wide = uint64_t{a} - b - borrow;
  const uint32_t result = static_cast<uint32_t>(wide) & mask(size);
  set_sum_flags(wide, a ^ b ^ result, (a ^ b) & (a ^ result), size);
  return result;
}

// The flags of an addition or subtraction. `carries` has the carry into each bit; the sign of `overflow`
// tells whether the result's is wrong.
void Interpreter::set_sum_flags(uint64_t wide, uint32_t carries, uint32_t overflow, uint32_t size) {
  set_flags(kCarry | kAdjust | kOverflow | kResultFlags,
            flag_if((wide >> bits(size) & 1) != 0, kCarry) | flag_if((carries & 0x10) != 0, kAdjust) |
                flag_if(sign(overflow, size), kOverflow) | result_flags(static_cast<uint32_t>(wide), size));
}

// AF is undefined; processors clear it.
uint32_t Interpreter::logic(uint32_t result, uint32_t size) {
  set_flags(kCarry | kAdjust | kOverflow | kResultFlags, result_flags(result, size));
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

// Shifts and rotates. A count of 0 changes no flag. OF is set as for a count of 1, and undefined for others.
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
    set_flags(kResultFlags, result_flags(low, size));
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
    return store(in_.rm, size, target);  // the processor still writes
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
  set_flags(kResultFlags, result_flags(low, size));
  store(in_.rm, size, low);
}

// BT, BTS, BTR and BTC of bit `index`, modulo the operand's width, of the r/m operand.
void Interpreter::bit(uint32_t operation, uint32_t index) {
  const uint32_t size = in_.operand_size;
  const uint32_t selected = 1u << (index % bits(size));
  const uint32_t value = load(in_.rm, size);
  set_flag(kCarry, (value & selected) != 0);
  switch (operation) {
    case kBts: return store(in_.rm, size, value | selected);
    case kBtr: return store(in_.rm, size, value & ~selected);
    case kBtc: return store(in_.rm, size, value ^ selected);
    default: return;
  }
}

// Opcode 0F BA.
void Interpreter::bit_by_immediate() {
  decode_modrm();
  if (in_.reg < 4) {
    return fail(CallEnd::kInstruction);
  }
  bit(in_.reg - 4, fetch(1));
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
  set_flags(kResultFlags, result_flags(result, 1));
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
  set_flags(kResultFlags, result_flags(al % base, 1));
}

// AAD.
void Interpreter::ascii_multiply() {
  const uint32_t result = (reg(kEax, 1) + reg(kAh, 1) * fetch(1)) & 0xFF;
  set_reg(kEax, 2, result);
  set_flags(kResultFlags, result_flags(result, 1));
}

}  // namespace x86
