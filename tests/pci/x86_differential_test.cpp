// Random instructions, one at a time, in the interpreter and in Unicorn: both must fail, or both must leave
// the same registers, flags and memory. ORVLOG_X86_VECTORS and ORVLOG_X86_SEED in the environment change the
// number of vectors and the seed.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <unicorn/unicorn.h>
#include <vector>

#include <gtest/gtest.h>

#include "pci/x86_interpreter.h"

namespace {

using namespace x86;

constexpr uint32_t kArithmetic = kCarry | kParity | kAdjust | kZero | kSign | kOverflow;
constexpr uint32_t kCompared = kArithmetic | kDirection;

constexpr uint32_t kDataSize = 0x10000;  // guest memory from 0: every 16-bit address lies in it
constexpr uint32_t kCodeBase = 0x400000;
constexpr uint32_t kCodeSize = 0x100000;
constexpr uint32_t kSlot = 64;           // bytes of code memory for one vector
constexpr uint64_t kBudget = 1'000'000;  // instructions and repetitions for a vector

// What follows an opcode, in this order.
enum Operands : uint32_t {
  kPlain = 0,
  kModrm = 1,
  kWord = 2,    // an immediate of 16 bits,
  kByte = 4,    // of 8 bits,
  kFull = 8,    // of the operand size,
  kOffset = 16  // of the address size
};
enum Kind { kStraight, kBranch, kString };

struct Form {
  const char *opcodes;  // those of three digits follow a 0F byte; what stands twice is drawn twice as often
  uint32_t operands;
  uint32_t undefined = 0;  // the flags that the architecture does not define
  uint32_t fields = 0xFF;  // bit n: n may stand in the ModRM byte's reg field
  Kind kind = kStraight;
};

constexpr uint32_t kMultiplied = kSign | kZero | kAdjust | kParity;
constexpr uint32_t kAllButCarry = kArithmetic & ~kCarry;
constexpr uint32_t kAllButZero = kArithmetic & ~kZero;

constexpr Form kForms[] = {
    {"00-03 10-13 18-1B 28-2B 38-3B", kModrm},
    {"08-0B 20-23 30-33 84-85", kModrm, kAdjust},
    {"04 14 1C 2C 3C", kByte},
    {"0C 24 34 A8", kByte, kAdjust},
    {"05 15 1D 2D 3D", kFull},
    {"0D 25 35 A9", kFull, kAdjust},
    {"80 82 83", kModrm | kByte, 0, 0xAD},
    {"80 82 83", kModrm | kByte, kAdjust, 0x52},
    {"81", kModrm | kFull, 0, 0xAD},
    {"81", kModrm | kFull, kAdjust, 0x52},
    {"F6", kModrm | kByte, kAdjust, 0x01},
    {"F7", kModrm | kFull, kAdjust, 0x01},
    {"F6-F7", kModrm, 0, 0x0C},
    {"F6-F7 F6-F7", kModrm, kMultiplied, 0x30},
    {"F6-F7 F6-F7", kModrm, kArithmetic, 0xC0},
    {"69", kModrm | kFull, kMultiplied},
    {"6B", kModrm | kByte, kMultiplied},
    {"1AF", kModrm, kMultiplied},
    {"27 2F", kPlain, kOverflow},
    {"37 3F", kPlain, kAllButCarry & ~kAdjust},
    {"D4-D5", kByte, kOverflow | kAdjust | kCarry},
    {"C0-C1 C0-C1", kModrm | kByte, kOverflow, 0x0F},
    {"C0-C1 C0-C1", kModrm | kByte, kOverflow | kAdjust, 0xF0},
    {"D0-D1", kModrm, 0, 0x0F},
    {"D0-D1", kModrm, kAdjust, 0xF0},
    {"D2-D3", kModrm, kOverflow, 0x0F},
    {"D2-D3", kModrm, kOverflow | kAdjust, 0xF0},
    {"1A4 1AC", kModrm | kByte, kOverflow | kAdjust},
    {"1A5 1AD", kModrm, kOverflow | kAdjust},
    {"1A3 1AB 1B3 1BB", kModrm, kAllButCarry & ~kZero},
    {"1BA", kModrm | kByte, kAllButCarry & ~kZero},
    {"1BC-1BD", kModrm, kAllButZero},
    {"62 86-8D FE 11F 140-14F 190-19F 1B0-1B1 1B6-1B7 1BE-1BF 1C0-1C1", kModrm},
    {"8F", kModrm, 0, 0x01},
    {"FF", kModrm, 0, 0xC3},
    {"C6", kModrm | kByte, 0, 0x01},
    {"C7", kModrm | kFull, 0, 0x01},
    {"06 0E 16 1E 1A0 1A8 40-4F 50-61 90-99 9C 9E-9F C9 CE D6-D7 F5 F8-F9 FC-FD 1C8-1CF", kPlain},
    {"6A B0-B7", kByte},
    {"68 B8-BF", kFull},
    {"A0-A3", kOffset},
    {"C8", kWord | kByte},
    {"A4-A7 AA-AF", kPlain, 0, 0, kString},
    {"70-7F E0-E3 EB", kByte, 0, 0, kBranch},
    {"180-18F E8-E9", kFull, 0, 0, kBranch},
    {"C2", kWord, 0, 0, kBranch},
    {"C3", kPlain, 0, 0, kBranch},
    {"FF", kModrm, 0, 0x14, kBranch},
};

// Every opcode with the form that it has.
std::vector<std::pair<const Form *, uint32_t>> all_instructions() {
  std::vector<std::pair<const Form *, uint32_t>> all;
  for (const Form &form : kForms) {
    for (const char *at = form.opcodes; *at != '\0';) {
      char *end = nullptr;
      const uint32_t first = static_cast<uint32_t>(strtoul(at, &end, 16));
      const uint32_t last = *end == '-' ? static_cast<uint32_t>(strtoul(end + 1, &end, 16)) : first;
      for (uint32_t opcode = first; opcode <= last; ++opcode) {
        all.emplace_back(&form, opcode);
      }
      at = *end == ' ' ? end + 1 : end;
    }
  }
  return all;
}

// The general registers by their numbers, then EFLAGS and EIP.
using State = std::array<uint32_t, 10>;
constexpr size_t kFlags = 8;
constexpr size_t kEip = 9;

struct Vector {
  const Form *form;
  uint32_t opcode;
  uint32_t field;  // the ModRM byte's reg field
  uint32_t operand_size = 4;
  uint32_t address_size = 4;
  uint32_t immediate;  // the immediate byte
  bool locked = false;
  uint32_t extra_prefixes = 0;  // after the second
  std::vector<uint8_t> code;
  State state;
};

class Generator {
 public:
  explicit Generator(uint64_t seed) : random_(seed) {}

  Vector next() {
    Vector v = {};
    std::tie(v.form, v.opcode) = instructions_[below(instructions_.size())];
    prefixes(v);
    v.extra_prefixes = v.code.size() > 2 ? static_cast<uint32_t>(v.code.size()) - 2 : 0;
    append(v, v.opcode > 0xFF ? v.opcode << 8 | 0x0F : v.opcode, v.opcode > 0xFF ? 2 : 1);
    operands(v);
    std::generate(v.state.begin(), v.state.end(), [this] { return value(); });
    v.state[kFlags] = (static_cast<uint32_t>(random_()) & kArithmetic) | kAlwaysSet;
    if (below(8) != 0) {
      v.state[kEsp] = 0x100 + below(kDataSize - 0x200);
    }
    if (v.form->kind == kString) {
      v.state[kEcx] = below(4) == 0 ? value() : below(2) << 16 | below(40);
      v.state[kFlags] |= below(2) * kDirection;
    }
    return v;
  }

  void fill(std::span<uint8_t> bytes) {
    std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<uint8_t>(random_()); });
  }

 private:
  uint32_t below(size_t limit) {
    return static_cast<uint32_t>(random_() % limit);
  }

  void prefixes(Vector &v) {
    if (below(3) == 0) {
      v.operand_size = 2;
      append(v, 0x66, 1);
    }
    if (below(4) == 0) {
      v.address_size = 2;
      append(v, 0x67, 1);
    }
    if (below(16) == 0) {
      append(v, 0x26, 1);
    }
    if (below(24) == 0) {
      v.locked = true;
      append(v, 0xF0, 1);
    }
    if (v.form->kind == kString && below(3) != 0) {
      append(v, 0xF2 + below(2), 1);
    }
  }

  void operands(Vector &v) {
    const uint32_t operands = v.form->operands;
    if (operands & kModrm) {
      modrm(v);
    }
    if (operands & kWord) {
      append(v, below(0x8000), 2);  // Unicorn takes RET's operand as signed
    }
    if (operands & kByte) {
      v.immediate = below(3) == 0 ? below(40) : below(256);
      append(v, v.immediate, 1);
    }
    if (operands & kFull) {
      append(v, v.form->kind == kBranch ? below(0x1000) : value(), v.operand_size);
    }
    if (operands & kOffset) {
      append(v, below(kDataSize), v.address_size);
    }
  }

  void modrm(Vector &v) {
    const uint32_t mod = below(4);
    const uint32_t rm = below(8);
    do {
      v.field = below(8);
    } while ((v.form->fields >> v.field & 1) == 0);
    append(v, mod << 6 | v.field << 3 | rm, 1);
    if (mod == 3) {
      return;
    }
    uint32_t base = rm;
    if (v.address_size == 4 && rm == 4) {
      base = below(8);
      append(v, below(32) << 3 | base, 1);
    }
    if (mod == 1) {
      append(v, below(256), 1);
    }
    if (mod == 2 || (mod == 0 && base == (v.address_size == 2 ? 6u : 5u))) {
      append(v, below(4) == 0 ? value() : below(0x8000), v.address_size);
    }
  }

  static void append(Vector &v, uint32_t bytes, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) {
      v.code.push_back(static_cast<uint8_t>(bytes >> 8 * i));
    }
  }

  // Mostly addresses in the data window; else boundaries, one of them where nothing may be written, and
  // anything.
  uint32_t value() {
    static constexpr uint32_t kBoundaries[] = {
        0,      1,      2,      0x0F,    0x7F,       0x80,       0x99,       0x9A,       0xFF,     0x100,
        0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, kCodeBase};
    switch (below(8)) {
      case 0: return static_cast<uint32_t>(random_());
      case 1:
      case 2: return kBoundaries[below(std::size(kBoundaries))];
      default: return below(kDataSize);
    }
  }

  std::mt19937_64 random_;
  const std::vector<std::pair<const Form *, uint32_t>> instructions_ = all_instructions();
};

// What is undefined as a whole, 16-bit BSWAP and 16-bit double shifts by more than 16, and what Unicorn does
// otherwise than a processor: 16-bit ENTER leaves the upper half of EBP alone, LOCK does not change NEG's
// flags, and the second of BOUND's limits does not wrap at 64 KiB.
bool out_of_scope(const Vector &v) {
  const uint32_t count = v.opcode & 1 ? v.state[kEcx] : v.immediate;
  const bool undefined = (v.opcode & ~9u) == 0x1A4 && count % 32 > 16;
  const bool differs = v.opcode >= 0x1C8 || v.opcode == 0xC8;
  const bool negated = (v.opcode & ~1u) == 0xF6 && v.field == 3;
  const bool wraps = v.opcode == 0x62 && v.address_size == 2;
  return (v.operand_size == 2 && (undefined || differs)) || (v.locked && negated) || wraps;
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
  bool run(State &state, uint32_t until) {
    static constexpr int kRegisters[] = {UC_X86_REG_EAX,    UC_X86_REG_ECX, UC_X86_REG_EDX, UC_X86_REG_EBX,
                                         UC_X86_REG_ESP,    UC_X86_REG_EBP, UC_X86_REG_ESI, UC_X86_REG_EDI,
                                         UC_X86_REG_EFLAGS, UC_X86_REG_EIP};
    for (size_t i = 0; i < state.size(); ++i) {
      uc_reg_write(engine_, kRegisters[i], &state[i]);
    }
    uc_ctl_remove_cache(engine_, state[kEip], state[kEip] + kSlot);
    uc_ctl_remove_cache(engine_, until, until + 1);
    const uc_err error = uc_emu_start(engine_, state[kEip], until, 0, kBudget);
    for (size_t i = 0; i < state.size(); ++i) {
      uc_reg_read(engine_, kRegisters[i], &state[i]);
    }
    return error == UC_ERR_OK && state[kEip] == until;  // some exceptions are no errors to Unicorn
  }

 private:
  uc_engine *engine_ = nullptr;
};

CallEnd interpret(const Vector &v, State &state, std::span<const MemoryWindow> windows) {
  const bool branch = v.form->kind == kBranch;
  // A branch is stopped after one instruction; each prefix after the second costs one more.
  uint64_t budget = branch ? 1 + v.extra_prefixes : kBudget;
  Interpreter cpu(windows, budget);
  std::copy_n(state.begin(), kFlags, cpu.gpr);
  cpu.eflags = state[kFlags];
  cpu.eip = state[kEip];
  const CallEnd end = cpu.run(branch ? kReturnAddress : state[kEip] + static_cast<uint32_t>(v.code.size()));
  std::copy_n(cpu.gpr, kFlags, state.begin());
  state[kFlags] = cpu.eflags;
  state[kEip] = cpu.eip;
  return branch && end == CallEnd::kBudget ? CallEnd::kReturned : end;
}

template <typename Numbers>
std::string hex(const Numbers &numbers) {
  std::ostringstream text;
  text << std::hex;
  std::copy(numbers.begin(), numbers.end(), std::ostream_iterator<uint32_t>(text, " "));
  return text.str();
}

uint64_t setting(const char *name, uint64_t otherwise) {
  const char *text = getenv(name);
  return text == nullptr ? otherwise : strtoull(text, nullptr, 0);
}

TEST(X86Differential, AgreesWithUnicorn) {
  Generator generator(setting("ORVLOG_X86_SEED", 20));
  alignas(4096) static uint8_t data[2][kDataSize];
  alignas(4096) static uint8_t code[kCodeSize];
  generator.fill(data[0]);
  std::memcpy(data[1], data[0], kDataSize);
  const MemoryWindow windows[] = {{0, data[0], kDataSize, true}, {kCodeBase, code, kCodeSize, false}};
  Unicorn unicorn(data[1], code);

  const uint64_t count = setting("ORVLOG_X86_VECTORS", 40'000);
  uint64_t succeeded = 0;
  int reported = 0;
  for (uint64_t i = 0; i < count && reported < 10; ++i) {
    Vector v = generator.next();
    if (out_of_scope(v)) {
      continue;
    }
    const uint32_t offset = static_cast<uint32_t>(i * kSlot % (kCodeSize - 0x2000));
    std::memcpy(code + offset, v.code.data(), v.code.size());
    const uint32_t start = kCodeBase + offset;
    v.state[kEip] = start;
    State mine = v.state;
    State theirs = v.state;
    const CallEnd end = interpret(v, mine, windows);
    const bool my_success = end == CallEnd::kReturned;
    const uint32_t my_eip = mine[kEip];
    // Unicorn lets LOCK stand where the architecture refuses it; a branch may lead to where nothing is, or to
    // itself.
    if ((v.locked && end == CallEnd::kInstruction) || (my_success && my_eip == start) ||
        (my_eip >= kDataSize && my_eip - kCodeBase >= kCodeSize)) {
      std::memcpy(data[0], data[1], kDataSize);
      continue;
    }
    const uint32_t next = start + static_cast<uint32_t>(v.code.size());
    const bool their_success = unicorn.run(theirs, my_success ? my_eip : next);

    std::string difference;
    if (my_success != their_success) {
      difference = my_success ? "only Unicorn fails" : "only the interpreter fails";
    } else if (my_success) {
      ++succeeded;
      difference += std::equal(mine.begin(), mine.begin() + kFlags, theirs.begin()) ? "" : "registers ";
      difference += (mine[kFlags] ^ theirs[kFlags]) & kCompared & ~v.form->undefined ? "flags " : "";
      difference += std::memcmp(data[0], data[1], kDataSize) == 0 ? "" : "memory ";
    }
    if (!difference.empty()) {
      ++reported;
      ADD_FAILURE() << difference << "\n  code " << hex(v.code) << "\n  before " << hex(v.state)
                    << "\n  interpreter " << hex(mine) << "\n  Unicorn " << hex(theirs);
    }
    if (!my_success || !their_success || !difference.empty()) {
      std::memcpy(data[0], data[1], kDataSize);
    }
  }
  EXPECT_GT(succeeded, count / 4) << "too few vectors got through to mean anything";
}

}  // namespace
