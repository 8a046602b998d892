// The opcode maps: one line for each group of opcodes.
#include "pci/x86_bits.h"
#include "pci/x86_interpreter.h"

namespace x86 {

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

// In all maps: where an instruction comes in pairs of opcodes, the even one works on bytes.

void Interpreter::one_byte(uint32_t opcode) {
  if (register_row(opcode)) {
    return;
  }
  const uint32_t full = in_.operand_size;
  const uint32_t size = (opcode & 1) != 0 ? full : 1;
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
    case 0xA8: case 0xA9: logic(reg(kEax, size) & fetch(size), size); return;
    case 0xA4: case 0xA5: case 0xA6: case 0xA7: case 0xAA: case 0xAB: case 0xAC: case 0xAD: case 0xAE:
    case 0xAF: return string(opcode, size);
    case 0xC0: case 0xC1: case 0xD0: case 0xD1: case 0xD2: case 0xD3: {
      decode_modrm();
      const uint32_t count = opcode < 0xD0 ? fetch(1) : opcode < 0xD2 ? 1 : reg(kEcx, 1);
      return store(in_.rm, size, shift(in_.reg, load(in_.rm, size), count, size));
    }
    case 0xC2: return return_near(fetch(2));
    case 0xC3: return return_near(0);
    case 0xC4: return load_far_pointer(kEs);
    case 0xC5: return load_far_pointer(kDs);
    case 0xC6: case 0xC7: return mov_immediate(size);
    case 0xC8: return enter();
    case 0xC9: return leave();
    case 0xCA: return return_far(fetch(2));
    case 0xCB: return return_far(0);
    case 0xCE: return flag(kOverflow) ? fail(CallEnd::kInstruction) : void();  // INTO
    case 0xCF: return return_from_interrupt();
    case 0xD4: return ascii_divide();
    case 0xD5: return ascii_multiply();
    case 0xD6: return set_reg(kEax, 1, flag(kCarry) ? 0xFF : 0);  // SALC
    case 0xD7:  // XLAT
      return set_reg(kEax, 1, read((gpr[kEbx] + reg(kEax, 1)) & mask(in_.address_size), 1));
    case 0xE0: case 0xE1: case 0xE2: case 0xE3: return loop(opcode);
    case 0xE4: case 0xE5: return set_reg(kEax, size, input(fetch(1), size));
    case 0xE6: case 0xE7: return output(fetch(1), size, reg(kEax, size));
    case 0xE8: return call_relative(fetch(full));
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

// The rows of the map after 0F. False if `opcode` is not in one.
bool Interpreter::two_byte_row(uint32_t opcode) {
  const uint32_t full = in_.operand_size;
  switch (opcode & 0xF8) {
    case 0x18: decode_modrm(); return true;  // the NOPs with an operand
    case 0x40: case 0x48: mov_if(condition(opcode)); return true;
    case 0x80: case 0x88: jump_relative(fetch(full), condition(opcode)); return true;
    case 0x90: case 0x98: decode_modrm(); store(in_.rm, 1, condition(opcode)); return true;
    case 0xC8: gpr[opcode & 7] = __builtin_bswap32(gpr[opcode & 7]); return true;
    default: return false;
  }
}

void Interpreter::two_byte(uint32_t opcode) {
  if (two_byte_row(opcode)) {
    return;
  }
  const uint32_t full = in_.operand_size;
  const uint32_t size = (opcode & 1) != 0 ? full : 1;
  const uint32_t extended = (opcode & 1) != 0 ? 2 : 1;  // the source of MOVZX and MOVSX
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
    case 0xB6: case 0xB7: return mov_extended(false, extended);
    case 0xBA: return bit_by_immediate();
    case 0xBB: return bit_by_register(kBtc);
    case 0xBC: case 0xBD: return bit_scan(opcode == 0xBD);
    case 0xBE: case 0xBF: return mov_extended(true, extended);
    case 0xC0: case 0xC1: return exchange_add(size);
    default: return fail(CallEnd::kInstruction);
  }
}

// clang-format on

}  // namespace x86
