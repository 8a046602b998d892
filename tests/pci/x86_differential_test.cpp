// Random instructions, one at a time, in the interpreter and in Unicorn: both must fail, or both must leave
// the same registers, flags and memory. ORVLOG_X86_VECTORS and ORVLOG_X86_SEED in the environment change the
// number of vectors and the seed.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <unicorn/unicorn.h>
#include <vector>

#include <gtest/gtest.h>

#include "pci/x86_interpreter.h"

namespace {

using x86::kAdjust;
using x86::kCarry;
using x86::kOverflow;
using x86::kParity;
using x86::kSign;
using x86::kZero;

constexpr uint32_t kArithmetic = kCarry | kParity | kAdjust | kZero | kSign | kOverflow;
constexpr uint32_t kCompared = kArithmetic | x86::kDirection;

constexpr uint32_t kDataSize = 0x10000;  // guest memory from 0: every 16-bit address lies in it
constexpr uint32_t kCodeBase = 0x400000;
constexpr uint32_t kCodeSize = 0x100000;
constexpr uint32_t kSlot = 64;              // bytes of code memory for one vector
constexpr uint64_t kPatience = 10'000'000;  // microseconds for an instruction

enum Shape {
  kPlain,      // opcode alone
  kModrm,      // any ModRM byte
  kByte,       // an immediate byte
  kFull,       // an immediate of the operand size
  kModrmByte,  // both
  kModrmFull,
  kOffset,   // an immediate of the address size
  kWord,     // a 16-bit immediate
  kEnterOp,  // a 16-bit immediate and a byte
};
enum Kind { kStraight, kBranch, kString };

// How the flags that the architecture leaves undefined depend on the shift count.
enum Undefined : uint32_t {
  kNone = 0,
  kLogic = kAdjust,
  kMultiplied = kSign | kZero | kAdjust | kParity,
  kDivided = kArithmetic,
  kBits = kArithmetic & ~kCarry & ~kZero,
  kScanned = kArithmetic & ~kZero,
  kDecimal = kOverflow,
  kAscii = kArithmetic & ~kCarry & ~kAdjust,
  kAsciiMultiplied = kOverflow | kAdjust | kCarry,
  kByCount = 1u << 31,  // rotates, shifts: see undefined_flags
};

struct Template {
  uint32_t first, last, stride;  // opcodes; those above 0xFF follow a 0F byte
  Shape shape;
  uint32_t undefined = kNone;
  int reg_first = -1, reg_last = -1;  // the ModRM reg field, if it chooses the instruction
  Kind kind = kStraight;
};

constexpr Template kTemplates[] = {
    {0x00, 0x38, 8, kModrm, kNone},  // the ALU's six forms; AF after OR, AND, XOR: see undefined_flags
    {0x01, 0x39, 8, kModrm, kNone},
    {0x02, 0x3A, 8, kModrm, kNone},
    {0x03, 0x3B, 8, kModrm, kNone},
    {0x04, 0x3C, 8, kByte, kNone},
    {0x05, 0x3D, 8, kFull, kNone},
    {0x80, 0x80, 1, kModrmByte, kNone},
    {0x81, 0x81, 1, kModrmFull, kNone},
    {0x82, 0x83, 1, kModrmByte, kNone},
    {0x84, 0x85, 1, kModrm, kLogic},
    {0xA8, 0xA8, 1, kByte, kLogic},
    {0xA9, 0xA9, 1, kFull, kLogic},
    {0xF6, 0xF6, 1, kModrmByte, kLogic, 0, 0},
    {0xF7, 0xF7, 1, kModrmFull, kLogic, 0, 0},
    {0xF6, 0xF7, 1, kModrm, kNone, 2, 3},
    {0xF6, 0xF7, 1, kModrm, kMultiplied, 4, 5},
    {0xF6, 0xF7, 1, kModrm, kDivided, 6, 7},
    {0xFE, 0xFE, 1, kModrm, kNone},
    {0xFF, 0xFF, 1, kModrm, kNone, 0, 1},
    {0xFF, 0xFF, 1, kModrm, kNone, 6, 7},
    {0x40, 0x4F, 1, kPlain, kNone},
    {0x27, 0x2F, 8, kPlain, kDecimal},
    {0x37, 0x3F, 8, kPlain, kAscii},
    {0xD4, 0xD5, 1, kByte, kAsciiMultiplied},
    {0x69, 0x69, 1, kModrmFull, kMultiplied},
    {0x6B, 0x6B, 1, kModrmByte, kMultiplied},
    {0x1AF, 0x1AF, 1, kModrm, kMultiplied},
    {0xC0, 0xC1, 1, kModrmByte, kByCount},
    {0xD0, 0xD3, 1, kModrm, kByCount},
    {0x1A4, 0x1AC, 8, kModrmByte, kByCount},
    {0x1A5, 0x1AD, 8, kModrm, kByCount},
    {0x1A3, 0x1BB, 8, kModrm, kBits},
    {0x1BA, 0x1BA, 1, kModrmByte, kBits},
    {0x1BC, 0x1BD, 1, kModrm, kScanned},
    {0x1B0, 0x1B1, 1, kModrm, kNone},
    {0x1C0, 0x1C1, 1, kModrm, kNone},
    {0x1C8, 0x1CF, 1, kPlain, kNone},
    {0x86, 0x8B, 1, kModrm, kNone},
    {0x8C, 0x8C, 1, kModrm, kNone},
    {0x8D, 0x8D, 1, kModrm, kNone},
    {0x8F, 0x8F, 1, kModrm, kNone, 0, 0},
    {0x90, 0x99, 1, kPlain, kNone},
    {0x9C, 0x9C, 1, kPlain, kNone},
    {0x9E, 0x9F, 1, kPlain, kNone},
    {0xA0, 0xA3, 1, kOffset, kNone},
    {0xB0, 0xB7, 1, kByte, kNone},
    {0xB8, 0xBF, 1, kFull, kNone},
    {0xC6, 0xC6, 1, kModrmByte, kNone, 0, 0},
    {0xC7, 0xC7, 1, kModrmFull, kNone, 0, 0},
    {0xD6, 0xD7, 1, kPlain, kNone},
    {0x1B6, 0x1B7, 1, kModrm, kNone},
    {0x1BE, 0x1BF, 1, kModrm, kNone},
    {0x190, 0x19F, 1, kModrm, kNone},
    {0x11F, 0x11F, 1, kModrm, kNone},
    {0x06, 0x1E, 8, kPlain, kNone},
    {0x1A0, 0x1A8, 8, kPlain, kNone},
    {0x50, 0x5F, 1, kPlain, kNone},
    {0x60, 0x61, 1, kPlain, kNone},
    {0x62, 0x62, 1, kModrm, kNone},
    {0x68, 0x68, 1, kFull, kNone},
    {0x6A, 0x6A, 1, kByte, kNone},
    {0xC8, 0xC8, 1, kEnterOp, kNone},
    {0xC9, 0xC9, 1, kPlain, kNone},
    {0xF5, 0xF5, 1, kPlain, kNone},
    {0xF8, 0xF9, 1, kPlain, kNone},
    {0xFC, 0xFD, 1, kPlain, kNone},
    {0xCE, 0xCE, 1, kPlain, kNone},
    {0xA4, 0xA7, 1, kPlain, kNone, -1, -1, kString},
    {0xAA, 0xAF, 1, kPlain, kNone, -1, -1, kString},
    {0x70, 0x7F, 1, kByte, kNone, -1, -1, kBranch},
    {0x180, 0x18F, 1, kFull, kNone, -1, -1, kBranch},
    {0xE0, 0xE3, 1, kByte, kNone, -1, -1, kBranch},
    {0xE8, 0xE9, 1, kFull, kNone, -1, -1, kBranch},
    {0xEB, 0xEB, 1, kByte, kNone, -1, -1, kBranch},
    {0xC2, 0xC2, 1, kWord, kNone, -1, -1, kBranch},
    {0xC3, 0xC3, 1, kPlain, kNone, -1, -1, kBranch},
    {0xFF, 0xFF, 1, kModrm, kNone, 2, 2, kBranch},
    {0xFF, 0xFF, 1, kModrm, kNone, 4, 4, kBranch},
};

constexpr int kUnicornRegisters[] = {UC_X86_REG_EAX, UC_X86_REG_ECX, UC_X86_REG_EDX, UC_X86_REG_EBX,
                                     UC_X86_REG_ESP, UC_X86_REG_EBP, UC_X86_REG_ESI, UC_X86_REG_EDI};

struct Vector {
  const Template *form;
  uint32_t opcode;
  uint32_t reg_field;
  uint32_t operand_size;
  uint32_t count_immediate;  // the immediate byte, for shifts
  std::vector<uint8_t> code;
  uint32_t gpr[8];
  uint32_t eflags;
};

class Generator {
 public:
  explicit Generator(uint64_t seed) : random_(seed) {}

  Vector next() {
    Vector v = {};
    v.form = &kTemplates[below(std::size(kTemplates))];
    v.opcode = v.form->first + v.form->stride * below((v.form->last - v.form->first) / v.form->stride + 1);
    v.operand_size = 4;
    prefixes(v);
    if (v.opcode > 0xFF) {
      v.code.push_back(0x0F);
    }
    v.code.push_back(static_cast<uint8_t>(v.opcode));
    operands(v);
    for (uint32_t &reg : v.gpr) {
      reg = value();
    }
    if (v.form->kind == kString && below(8) != 0) {
      v.gpr[x86::kEcx] = (v.gpr[x86::kEcx] & 0xFFFF0000) | below(40);
    }
    if (v.form->kind == kString && below(2) != 0) {
      v.gpr[x86::kEcx] &= 0xFFFF;
    }
    if (below(8) != 0) {
      v.gpr[x86::kEsp] = 0x100 + below(kDataSize - 0x200);
    }
    v.eflags = (static_cast<uint32_t>(random_()) & kArithmetic) | x86::kAlwaysSet;
    if (v.form->kind == kString && below(2) != 0) {
      v.eflags |= x86::kDirection;
    }
    return v;
  }

  uint32_t below(size_t limit) {
    return static_cast<uint32_t>(random_() % limit);
  }

  void fill(uint8_t *to, size_t size) {
    for (size_t i = 0; i < size; ++i) {
      to[i] = static_cast<uint8_t>(random_());
    }
  }

 private:
  void prefixes(Vector &v) {
    if (below(3) == 0) {
      v.code.push_back(0x66);
      v.operand_size = 2;
    }
    if (below(4) == 0) {
      v.code.push_back(0x67);
    }
    if (below(16) == 0) {
      v.code.push_back(0x26);
    }
    if (below(24) == 0) {
      v.code.push_back(0xF0);
    }
    if (v.form->kind == kString && below(3) != 0) {
      v.code.push_back(below(2) ? 0xF2 : 0xF3);
    }
  }

  void operands(Vector &v) {
    const bool narrow = std::find(v.code.begin(), v.code.end(), 0x67) != v.code.end();
    const Shape shape = v.form->shape;
    if (shape == kModrm || shape == kModrmByte || shape == kModrmFull) {
      modrm(v, narrow);
    }
    switch (shape) {
      case kByte:
      case kModrmByte:
        v.count_immediate = below(3) == 0 ? below(40) : below(256);
        append(v, v.count_immediate, 1);
        break;
      case kFull:
      case kModrmFull: append(v, v.form->kind == kBranch ? below(0x1000) : value(), v.operand_size); break;
      case kOffset: append(v, below(kDataSize), narrow ? 2 : 4); break;
      case kWord: append(v, below(0x8000), 2); break;  // Unicorn takes RET's operand as signed
      case kEnterOp:
        append(v, value(), 2);
        append(v, below(40), 1);
        break;
      default: break;
    }
  }

  void modrm(Vector &v, bool narrow) {
    const uint32_t mod = below(4);
    const uint32_t rm = below(8);
    v.reg_field = below(8);
    if (v.form->reg_first >= 0) {
      const uint32_t first = static_cast<uint32_t>(v.form->reg_first);
      v.reg_field = first + below(static_cast<uint32_t>(v.form->reg_last) - first + 1);
    }
    append(v, mod << 6 | v.reg_field << 3 | rm, 1);
    if (mod == 3) {
      return;
    }
    uint32_t base = rm;
    if (!narrow && rm == 4) {
      const uint32_t sib = below(256);
      append(v, sib, 1);
      base = sib & 7;
    }
    const bool bare = mod == 0 && base == (narrow ? 6u : 5u);
    if (mod == 1) {
      append(v, below(256), 1);
    }
    if (mod == 2 || bare) {
      append(v, below(4) == 0 ? value() : below(0x8000), narrow ? 2 : 4);
    }
  }

  static void append(Vector &v, uint32_t bytes, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) {
      v.code.push_back(static_cast<uint8_t>(bytes >> 8 * i));
    }
  }

  // Mostly addresses in the data window; else boundaries and anything.
  uint32_t value() {
    static constexpr uint32_t kBoundaries[] = {0,      1,          2,          0x7F,       0x80,    0xFF,
                                               0x7FFF, 0x8000,     0xFFFF,     0x7FFFFFFF, 0x10000, 0x9A,
                                               0x100,  0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0x99,    0x0F};
    switch (below(8)) {
      case 0: return static_cast<uint32_t>(random_());
      case 1:
      case 2: return kBoundaries[below(std::size(kBoundaries))];
      default: return below(kDataSize);
    }
  }

  std::mt19937_64 random_;
};

// The flags that the instruction leaves undefined; all ones if its result is undefined too.
uint32_t undefined_flags(const Vector &v) {
  const uint32_t opcode = v.opcode;
  const bool alu_form = opcode < 0x40 && (opcode & 7) < 6;
  const bool alu_group = opcode >= 0x80 && opcode <= 0x83;
  if (alu_form || alu_group) {
    const uint32_t operation = alu_form ? opcode >> 3 : v.reg_field;
    return operation == 1 || operation == 4 || operation == 6 ? kLogic : kNone;
  }
  if (opcode == 0xD4 || opcode == 0xD5) {
    return kAsciiMultiplied;
  }
  if (v.form->undefined != kByCount) {
    return v.form->undefined;
  }

  const bool twice = opcode > 0xFF;
  const bool by_cl = twice ? (opcode & 1) != 0 : opcode >= 0xD2;
  const bool by_one = opcode == 0xD0 || opcode == 0xD1;
  const uint32_t count = (by_one ? 1 : by_cl ? v.gpr[x86::kEcx] : v.count_immediate) & 31;
  const uint32_t width = !twice && !(opcode & 1) ? 8 : v.operand_size * 8;
  if (count == 0) {
    return kNone;
  }
  const uint32_t overflow = count == 1 ? kNone : static_cast<uint32_t>(kOverflow);
  if (twice) {
    return count > width ? 0xFFFFFFFF : overflow | kAdjust;
  }
  if (v.reg_field < 4) {
    return overflow;
  }
  return overflow | kAdjust | (count >= width && v.reg_field != 7 ? static_cast<uint32_t>(kCarry) : kNone);
}

// What Unicorn does otherwise than a processor, and what is undefined as a whole: a 16-bit BSWAP. A 16-bit
// ENTER leaves the upper half of EBP alone, and LOCK does not change the flags of NEG.
bool out_of_scope(const Vector &v) {
  const bool locked = std::find(v.code.begin(), v.code.end(), 0xF0) != v.code.end();
  if (v.opcode >= 0x1C8 || v.opcode == 0xC8) {
    return v.operand_size == 2;
  }
  return locked && (v.opcode == 0xF6 || v.opcode == 0xF7) && v.reg_field == 3;
}

class Unicorn {
 public:
  Unicorn(uint8_t *data, uint8_t *code) {
    uc_open(UC_ARCH_X86, UC_MODE_32, &engine_);
    uc_mem_map_ptr(engine_, 0, kDataSize, UC_PROT_ALL, data);
    uc_mem_map_ptr(engine_, kCodeBase, kCodeSize, UC_PROT_READ | UC_PROT_EXEC, code);
  }
  ~Unicorn() {
    uc_close(engine_);
  }

  // Runs one instruction, which is expected to lead to `until`.
  bool run(Vector &v, uint32_t start, uint32_t until) {
    for (size_t i = 0; i < 8; ++i) {
      uc_reg_write(engine_, kUnicornRegisters[i], &v.gpr[i]);
    }
    uc_reg_write(engine_, UC_X86_REG_EFLAGS, &v.eflags);
    uc_ctl_remove_cache(engine_, start, start + kSlot);
    uc_ctl_remove_cache(engine_, until, until + 1);
    const uc_err error = uc_emu_start(engine_, start, until, kPatience, 0);
    for (size_t i = 0; i < 8; ++i) {
      uc_reg_read(engine_, kUnicornRegisters[i], &v.gpr[i]);
    }
    uc_reg_read(engine_, UC_X86_REG_EFLAGS, &v.eflags);
    uint32_t eip = 0;
    uc_reg_read(engine_, UC_X86_REG_EIP, &eip);
    return error == UC_ERR_OK && eip == until;  // some exceptions are no errors to Unicorn
  }

 private:
  uc_engine *engine_ = nullptr;
};

CallEnd interpret(Vector &v, uint32_t start, std::span<const MemoryWindow> windows, uint32_t &eip) {
  const bool branch = v.form->kind == kBranch;
  uint64_t budget = branch ? 1 : 1'000'000;
  x86::Interpreter cpu(windows, budget);
  std::copy(std::begin(v.gpr), std::end(v.gpr), cpu.gpr);
  cpu.eflags = v.eflags;
  cpu.eip = start;
  const CallEnd end = cpu.run(branch ? kReturnAddress : start + static_cast<uint32_t>(v.code.size()));
  std::copy(std::begin(cpu.gpr), std::end(cpu.gpr), v.gpr);
  v.eflags = cpu.eflags;
  eip = cpu.eip;
  return branch && end == CallEnd::kBudget ? CallEnd::kReturned : end;
}

bool mapped_code(uint32_t address) {
  return address - kCodeBase < kCodeSize;
}

std::string describe(const Vector &v) {
  std::string text = "code";
  char buffer[32];
  for (const uint8_t byte : v.code) {
    snprintf(buffer, sizeof(buffer), " %02x", byte);
    text += buffer;
  }
  for (const uint32_t reg : v.gpr) {
    snprintf(buffer, sizeof(buffer), " %08x", reg);
    text += buffer;
  }
  snprintf(buffer, sizeof(buffer), " flags %04x", v.eflags);
  return text + buffer;
}

uint64_t setting(const char *name, uint64_t otherwise) {
  const char *text = getenv(name);
  return text == nullptr ? otherwise : strtoull(text, nullptr, 0);
}

TEST(X86Differential, AgreesWithUnicorn) {
  Generator generator(setting("ORVLOG_X86_SEED", 20));
  static uint8_t data[2][kDataSize] __attribute__((aligned(4096)));
  static uint8_t code[kCodeSize] __attribute__((aligned(4096)));
  generator.fill(data[0], kDataSize);
  std::memcpy(data[1], data[0], kDataSize);
  const MemoryWindow windows[] = {{0, data[0], kDataSize, true}, {kCodeBase, code, kCodeSize, false}};
  Unicorn unicorn(data[1], code);

  const uint64_t count = setting("ORVLOG_X86_VECTORS", 25'000);
  uint64_t succeeded = 0;
  int reported = 0;
  for (uint64_t i = 0; i < count && reported < 10; ++i) {
    const uint32_t offset = static_cast<uint32_t>(i * kSlot % (kCodeSize - 0x2000));
    const Vector before = generator.next();
    if (out_of_scope(before)) {
      continue;
    }
    std::memcpy(code + offset, before.code.data(), before.code.size());

    Vector mine = before;
    Vector theirs = before;
    uint32_t my_eip = 0;
    const CallEnd end = interpret(mine, kCodeBase + offset, windows, my_eip);
    const bool my_success = end == CallEnd::kReturned;
    const bool locked = std::find(before.code.begin(), before.code.end(), 0xF0) != before.code.end();
    // Unicorn lets LOCK stand where the architecture refuses it; a branch may lead to where nothing is, or to
    // itself.
    if ((locked && end == CallEnd::kInstruction) || (my_eip >= kDataSize && !mapped_code(my_eip)) ||
        (my_success && my_eip == kCodeBase + offset)) {
      std::memcpy(data[0], data[1], kDataSize);
      continue;
    }
    const uint32_t next = kCodeBase + offset + static_cast<uint32_t>(before.code.size());
    const bool their_success = unicorn.run(theirs, kCodeBase + offset, my_success ? my_eip : next);

    std::string difference;
    const uint32_t undefined = undefined_flags(before);
    if (my_success != their_success) {
      difference = my_success ? "only Unicorn fails" : "only the interpreter fails";
    } else if (my_success && undefined != 0xFFFFFFFF) {
      ++succeeded;
      if (std::memcmp(mine.gpr, theirs.gpr, sizeof(mine.gpr)) != 0) {
        difference += "registers ";
      }
      if ((mine.eflags ^ theirs.eflags) & kCompared & ~undefined) {
        difference += "flags ";
      }
      if (std::memcmp(data[0], data[1], kDataSize) != 0) {
        difference += "memory ";
      }
    }
    if (!difference.empty()) {
      ++reported;
      ADD_FAILURE() << difference << "\n  before " << describe(before) << "\n  interpreter " << describe(mine)
                    << " eip " << std::hex << my_eip << "\n  Unicorn " << describe(theirs);
    }
    if (!my_success || !their_success || !difference.empty() || undefined == 0xFFFFFFFF) {
      std::memcpy(data[0], data[1], kDataSize);
    }
  }
  EXPECT_GT(succeeded, count / 4) << "too few vectors got through to mean anything";
}

}  // namespace
