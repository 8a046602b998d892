// Random instructions, one at a time, in the interpreter and in Unicorn: both must fail, or both must leave
// the same registers, flags and memory. --gtest_random_seed draws others.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <map>
#include <random>
#include <unicorn/unicorn.h>
#include <vector>

#include <gtest/gtest.h>

#include "pci/x86_interpreter.h"

// LeakSanitizer asks for this: Unicorn 2.1 does not free all of an engine.
extern "C" const char *__lsan_default_suppressions() {
  return "leak:libunicorn";
}

namespace {

using testing::PrintToString;
using namespace x86;

constexpr uint32_t kArithmetic = kCarry | kParity | kAdjust | kZero | kSign | kOverflow;

constexpr uint32_t kDataSize = 0x10000;  // guest memory from 0: every 16-bit address lies in it
constexpr uint32_t kCodeBase = 0x400000;
constexpr uint32_t kCodeSize = 0x100000;
constexpr uint32_t kSlot = 64;  // bytes of code memory for one vector
constexpr uint64_t kVectors = 40'000;

struct Form {
  const char *opcodes;     // those of three digits follow a 0F byte; one listed twice is drawn twice as often
  uint32_t undefined = 0;  // the flags that the architecture does not define, and where processors differ
  uint32_t fields = 0xFF;  // bit n: the ModRM byte's reg field may be n
};

constexpr uint32_t kMultiplied = kSign | kZero | kAdjust | kParity;

constexpr Form kForms[] = {
    {"00-05 08-0D 10-15 18-1D 20-25 28-2D 30-35 38-3D 80-85 A8-A9 180-18F 1A3 1AB 1B3 1BB"},
    {"06 0E 16 1E 40-61 62 62 62 62 68 6A 70-7F 86-8D 90-99 9C 9E-9F A0-A7 AA-AF B0-BF C2-C3 C8-C9 CE D6-D7 E0-E3 E8-E9 EB"},
    {"F5 F8-F9 FC-FD FE 11F 140-14F 190-19F 1A0 1A8 1B0-1B1 1B6-1B7 1BE-1BF 1C0-1C1 1C8-1CF"},
    {"69 6B 1AF", kMultiplied},
    {"F6-F7", 0, 0x0D},
    {"F6-F7 F6-F7", kMultiplied, 0x30},
    {"F6-F7 F6-F7", kArithmetic, 0xC0},
    {"27 2F D4-D5", kOverflow | kAdjust | kCarry},
    {"37 3F", kArithmetic & ~kCarry & ~kAdjust},
    {"C0-C1 D2-D3", kOverflow, 0x0F},
    {"C0-C1 D2-D3", kOverflow | kAdjust, 0xF0},
    {"D0-D1", 0, 0x0F},
    {"D0-D1", kAdjust, 0xF0},
    {"1A4-1A5 1AC-1AD", kOverflow | kAdjust},
    {"1BC-1BD", kArithmetic & ~kZero},
    {"1BA"},
    {"8F C6-C7", 0, 0x01},
    {"FF", 0, 0xD7},
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
constexpr size_t kFlags = 8, kEip = 9;

struct Vector {
  const Form *form;
  uint32_t opcode;
  bool short_operands, short_addresses;  // prefixes 66 and 67
  std::vector<uint8_t> code;
  size_t operands;  // where they begin
  State state;
};

std::mt19937_64 chance;

uint8_t random_byte() {
  return static_cast<uint8_t>(chance());
}

uint32_t below(size_t limit) {
  return static_cast<uint32_t>(chance() % limit);
}

// Mostly addresses in the data window; else around a power of two, where nothing may be written, and
// anything.
uint32_t random_value() {
  switch (below(8)) {
    case 0: return static_cast<uint32_t>(chance());
    case 1: return (1u << below(32)) - 1 + below(3);
    case 2: return below(4) == 0 ? kCodeBase : below(0x100);
    default: return below(kDataSize);
  }
}

Vector random_vector() {
  static const auto instructions = all_instructions();
  Vector v = {};
  std::tie(v.form, v.opcode) = instructions[below(instructions.size())];
  v.short_operands = below(3) == 0;
  v.short_addresses = below(4) == 0;
  const bool is_string = v.opcode >= 0xA4 && v.opcode <= 0xAF && (v.opcode & 0xFE) != 0xA8;
  v.code.insert(v.code.end(), v.short_operands, 0x66);
  v.code.insert(v.code.end(), v.short_addresses, 0x67);
  v.code.insert(v.code.end(), is_string && below(3) != 0, static_cast<uint8_t>(0xF2 + below(2)));
  v.code.insert(v.code.end(), v.opcode > 0xFF, 0x0F);
  v.code.push_back(static_cast<uint8_t>(v.opcode));
  v.operands = v.code.size();
  do {  // zeros keep addresses in the data window
    v.code.resize(v.operands);
    std::generate_n(std::back_inserter(v.code), 12, [] { return below(2) == 0 ? 0 : random_byte(); });
    v.code[v.operands] = random_byte();
  } while ((v.form->fields >> (v.code[v.operands] >> 3 & 7) & 1) == 0);
  std::generate(v.state.begin(), v.state.end(), random_value);
  v.state[kFlags] = (static_cast<uint32_t>(chance()) & (kArithmetic | kDirection)) | kAlwaysSet;
  v.state[kEsp] = below(8) == 0 ? v.state[kEsp] : 0x100 + below(kDataSize - 0x200);
  v.state[kEcx] = is_string && below(4) != 0 ? below(2) << 16 | below(40) : v.state[kEcx];
  return v;
}

// Unicorn runs the instruction at EIP until control reaches `until`. False if it fails.
bool emulate(uc_engine *engine, State &state, uint32_t until) {
  const uint32_t start = state[kEip];
  static constexpr int kRegisters[] = {UC_X86_REG_EAX,    UC_X86_REG_ECX, UC_X86_REG_EDX, UC_X86_REG_EBX,
                                       UC_X86_REG_ESP,    UC_X86_REG_EBP, UC_X86_REG_ESI, UC_X86_REG_EDI,
                                       UC_X86_REG_EFLAGS, UC_X86_REG_EIP};
  for (size_t i = 0; i < state.size(); ++i) {
    uc_reg_write(engine, kRegisters[i], &state[i]);
  }
  uc_ctl_remove_cache(engine, start, start + kSlot);
  uc_ctl_remove_cache(engine, until, until + 1);
  const uc_err error = uc_emu_start(engine, start, until, 0, 100'000);
  for (size_t i = 0; i < state.size(); ++i) {
    uc_reg_read(engine, kRegisters[i], &state[i]);
  }
  return state[kEip] != start && error != UC_ERR_EXCEPTION;
}

CallEnd interpret(State &state, std::span<const MemoryWindow> windows) {
  uint64_t budget = 1'000'000;
  Interpreter cpu(windows, budget);
  std::copy_n(state.begin(), kFlags, cpu.gpr);
  cpu.eflags = state[kFlags];
  cpu.eip = state[kEip];
  const CallEnd end = cpu.step();
  std::copy_n(cpu.gpr, kFlags, state.begin());
  state[kFlags] = cpu.eflags;
  state[kEip] = cpu.eip;
  return end;
}

// Undefined as a whole: 16-bit BSWAP and 16-bit double shifts by more than 16. Different in Unicorn from a
// processor: 16-bit ENTER leaves the upper half of EBP alone, RET's operand is signed, and the second of
// BOUND's limits does not wrap at 64 KiB.
bool out_of_scope(const Vector &v, uint32_t start, uint32_t end) {
  const bool undefined =
      (v.opcode & ~9u) == 0x1A4 && ((v.opcode & 1) != 0 ? v.state[kEcx] : v.code[end - start - 1]) % 32 > 16;
  const bool differs = v.opcode >= 0x1C8 || v.opcode == 0xC8;
  return (v.short_operands && (undefined || differs)) || (v.short_addresses && v.opcode == 0x62) ||
         (v.opcode == 0xC2 && v.code[v.operands + 1] >= 0x80);
}

TEST(X86Differential, AgreesWithUnicorn) {
  chance.seed(static_cast<uint64_t>(testing::GTEST_FLAG(random_seed)));
  alignas(4096) static uint8_t data[2][kDataSize];
  alignas(4096) static uint8_t code[kCodeSize];
  std::generate_n(data[1], kDataSize, random_byte);
  const MemoryWindow windows[] = {{0, data[0], kDataSize, true}, {kCodeBase, code, kCodeSize, false}};
  uc_engine *unicorn = nullptr;
  uc_open(UC_ARCH_X86, UC_MODE_32, &unicorn);
  uc_mem_map_ptr(unicorn, 0, kDataSize, UC_PROT_ALL, data[1]);
  uc_mem_map_ptr(unicorn, kCodeBase, kCodeSize, UC_PROT_READ | UC_PROT_EXEC, code);

  std::map<uint32_t, int> succeeded;
  for (uint64_t i = 0; i < kVectors && !HasFailure(); ++i) {
    memcpy(data[0], data[1], kDataSize);
    Vector v = random_vector();
    const uint32_t offset = static_cast<uint32_t>(i * kSlot % (kCodeSize - 0x2000));
    memcpy(code + offset, v.code.data(), v.code.size());
    const uint32_t start = v.state[kEip] = kCodeBase + offset;
    State mine = v.state;
    State theirs = v.state;
    const bool my_success = interpret(mine, windows) == CallEnd::kReturned;
    // A branch may lead to where there is no memory, or to itself.
    if (mine[kEip] == start || (mine[kEip] >= kDataSize && mine[kEip] - kCodeBase >= kCodeSize) ||
        out_of_scope(v, start, mine[kEip])) {
      continue;
    }
    const bool their_success = emulate(unicorn, theirs, mine[kEip]);
    EXPECT_EQ(my_success, their_success);
    if (my_success && their_success) {
      ++succeeded[v.opcode];
      for (State *state : {&mine, &theirs}) {
        (*state)[kFlags] &= (kArithmetic | kDirection) & ~v.form->undefined;
      }
      EXPECT_TRUE(mine == theirs && memcmp(data[0], data[1], kDataSize) == 0);
    }
    if (HasFailure()) {
      ADD_FAILURE() << "code " << PrintToString(v.code) << "\nbefore " << PrintToString(v.state)
                    << "\ninterpreter " << PrintToString(mine) << "\nUnicorn " << PrintToString(theirs);
    }
  }
  uc_close(unicorn);
  for (const auto &[form, opcode] : all_instructions()) {
    EXPECT_GT(succeeded[opcode], 0) << std::hex << opcode << ": no vector got through";
  }
}

}  // namespace
