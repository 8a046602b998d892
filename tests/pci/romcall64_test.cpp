#include "pci/romcall64.h"

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pci/x86_interpreter.h"
#include "tests/pci/pci_fakes.h"

namespace {

using testing::ElementsAre;
using namespace x86;

constexpr uint32_t kCodeAt = 0xF0000;

// A call with ESI at 256 bytes 00 01 .. FF at kLentBase, and EDI in the middle of them.
struct Call {
  uint8_t buffer[256];
  x86_reg_t reg = {};
  uint32_t refused_port = 0;

  explicit Call(uint32_t eax = 0, uint32_t ecx = 0, uint32_t edx = 0) {
    std::iota(std::begin(buffer), std::end(buffer), uint8_t{0});
    reg.u1.s1.reax = eax;
    reg.u3.s1.recx = ecx;
    reg.u4.s1.redx = edx;
    reg.resi = kLentBase;
    reg.redi = kLentBase + 0x80;
  }

  CallEnd run(const std::string &text, uint64_t budget = 10'000) {
    std::string code = from_hex(text);
    const MemoryWindow rom = {kCodeAt, code.data(), static_cast<uint32_t>(code.size()), false};
    const MemoryWindow lent[] = {{kLentBase, buffer, sizeof(buffer), true}};
    RomMachine machine{rom, lent, budget};
    const CallEnd result = rom_call(&reg, kCodeAt, machine);
    refused_port = machine.refused_port;
    return result;
  }
};

struct Registers {
  uint32_t eax = 0, ecx = 0, edx = 0;
  bool operator==(const Registers &) const = default;
};

// Instructions that are not compared with another processor (x86_differential.cpp). The code lacks the
// return.
constexpr struct {
  const char *text, *code;
  Registers after = {}, before = {};
} kRows[] = {
    {"15 bytes", "3E 3E 3E 3E 3E 3E 3E 3E 3E 3E B8 78 56 34 12", {.eax = 0x12345678}},
    {"pause, nop [eax]", "F3 90 0F 1F 00", {.eax = 1, .ecx = 2, .edx = 3}, {.eax = 1, .ecx = 2, .edx = 3}},
    {"cli; sti; cmc; std; cld; movsb", "FA FB F5 FD FC A4 19 C9 8B 46 FF", {.eax = 0x03020100, .ecx = ~0u}},
    {"cpuid, leaf 0", "0F A2", {.eax = 1}, {.ecx = 9, .edx = 9}},
    {"cpuid has no extensions", "0F A2", {.eax = 0x480}, {.eax = 1, .ecx = 9, .edx = 9}},
    {"popfd of ones, then of zeros", "6A FF 9D 9C 58 6A 00 9D 9C 59", {.eax = 0x244ED7, .ecx = 0x202}},
    {"iretd pops CF", "F9 9C F8 0E 68 0C 00 0F 00 CF F4 F4 40 19 C9", {.eax = 1, .ecx = ~0u}},
    {"bound at both ends", "89 36 89 76 04 62 36"},
    // The target counts in EAX and keeps its CS in ECX.
    {"push cs; call; retf 4", "6A 07 0E E8 02 00 00 00 EB 06 40 8C C9 CA 04 00", {.eax = 1, .ecx = 8}},
    {"call far", "9A 09 00 0F 00 18 00 EB 04 40 8C C9 CB 8C CA", {.eax = 1, .ecx = 0x18, .edx = 8}},
    {"call far [mem]", "C7 06 0E 00 0F 00 C6 46 04 18 FF 1E EB 04 40 8C C9 CB", {.eax = 1, .ecx = 0x518}},
    {"jmp far", "EA 09 00 0F 00 18 00 F4 F4 40 8C C9", {.eax = 1, .ecx = 0x18}},
    {"jmp far [mem]", "C7 06 0E 00 0F 00 C6 46 04 18 FF 2E F4 F4 40 8C C9", {.eax = 1, .ecx = 0x518}},
    {"lfs; lgs", "0F B4 06 8C E1 0F B5 46 06 8C EA", {.eax = 0x09080706, .ecx = 0x0504, .edx = 0x0B0A}},
    {"lds; lss", "C5 06 8C D9 0F B2 46 06 8C D2", {.eax = 0x09080706, .ecx = 0x0504, .edx = 0x0B0A}},
    {"mov al,5; mov fs,ax; push fs; pop gs", "B0 05 8E E0 0F A0 0F A9 8C E9", {.eax = 5, .ecx = 5}},
    {"mov al,5; mov gs,ax; push gs; pop fs", "B0 05 8E E8 0F A8 0F A1 8C E1", {.eax = 5, .ecx = 5}},
    {"push 5; pop ss", "6A 05 17 8C D0", {.eax = 5}},
    {"what the call pushes", "58 59 51 50", {.eax = kReturnAddress, .ecx = kCodeSelector}},
    {"retf; nothing follows", "CB"},
    {"iretd; nothing follows", "CF"},
    // Each of the instructions that take LOCK.
    {"lock add to inc", "B1 02 F0 01 0E F0 80 26 0E F0 F7 1E F0 FF 06 8B 06", {.eax = 0xFCFDFEFF, .ecx = 2}},
    {"lock bts, btr", "F0 0F BA 2E 00 F0 0F B3 0E 8B 06", {.eax = 0x03020001, .ecx = 8}, {.ecx = 8}},
    {"lock xchg, cmpxchg, xadd",
     "F0 87 0E F0 0F B1 16 F0 0F C1 16 8B 06",
     {.eax = 10, .ecx = 0x03020100, .edx = 5},
     {.eax = 7, .ecx = 7, .edx = 5}},
};

TEST(RomCall, Instructions) {
  for (const auto &row : kRows) {
    SCOPED_TRACE(row.text);
    Call call(row.before.eax, row.before.ecx, row.before.edx);
    EXPECT_EQ(call.run(std::string(row.code) + " C3"), CallEnd::kReturned);
    EXPECT_EQ((Registers{call.reg.u1.s1.reax, call.reg.u3.s1.recx, call.reg.u4.s1.redx}), row.after);
  }
}

TEST(RomCall, RegistersTravel) {
  Call call;
  call.reg.u2.s1.rebx = 0x22222222;
  call.reg.rds = call.reg.res = 0x7777;  // not loaded
  // mov ecx,es; mov edx,ds; les eax,[esi]; push cs; pop ds; mov [esi],edi; xchg esi,edi; xchg eax,ebx; stc;
  // retf
  EXPECT_EQ(call.run("8C C1 8C DA C4 06 0E 1F 89 3E 87 F7 93 F9 CB"), CallEnd::kReturned);
  const x86_reg_t &reg = call.reg;
  EXPECT_THAT(
      (std::vector{reg.u1.s1.reax, reg.u2.s1.rebx, reg.u3.s1.recx, reg.u4.s1.redx, reg.resi, reg.redi}),
      ElementsAre(0x22222222, 0x03020100, kDataSelector, kDataSelector, kLentBase + 0x80, kLentBase));
  EXPECT_TRUE(reg.rds == kCodeSelector && reg.res == 0x0504 && reg.reflags == (kInitialEflags | kCarry));
  EXPECT_TRUE(call.buffer[0] == 0x80 && call.buffer[2] == 0x10);
}

TEST(RomCall, Ports) {
  fake_ports = {};
  fake_ports.answer = [](uint16_t port, unsigned size) { return port * 0x01010101u + size; };
  Call call(0, 2, 0xFFFF0CF8);
  // out dx,eax; mov dl,0xFC; in ax,dx; out 0x80,al; rep insb; mov ecx,1; rep outsw; ret
  EXPECT_EQ(call.run("EF B2 FC 66 ED E6 80 F3 6C B9 01 00 00 00 F3 66 6F C3"), CallEnd::kReturned);
  EXPECT_EQ(call.reg.u1.s1.reax, (0xCFC * 0x01010101u + 2) & 0xFFFF);
  EXPECT_EQ(call.buffer[0x81], 0xFD);
  EXPECT_EQ(call.reg.redi, kLentBase + 0x82);
  EXPECT_THAT(fake_ports.writes,
              ElementsAre(PortWrite{0xCF8, 4, 0}, PortWrite{0x80, 1, 0xFE}, PortWrite{0xCFC, 2, 0x0100}));
}

// out imm8 without its byte, lock out, outs of nothing, ins to nothing and to the ROM, 16 bytes
TEST(RomCall, InstructionThatFailsReachesNoPort) {
  fake_ports = {};
  uint32_t reads = 0;
  fake_ports.answer = [&](uint16_t, unsigned) { return ++reads; };
  for (const char *code : {"E6", "F0 EE", "31 F6 6E", "31 FF 6C", "BF 00 00 0F 00 F3 6D",
                           "F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 E6 80"}) {
    EXPECT_NE(Call(0, 1, 0xCFC).run(code), CallEnd::kReturned) << code;
  }
  EXPECT_EQ(Call().run("E6 80", kPortCost), CallEnd::kBudget);
  EXPECT_EQ(reads + fake_ports.writes.size(), 0u);
}

// The ports where the code's access is allowed begins, and where it ends, in turn.
std::vector<uint32_t> bounds_of_allowed_ports(const char *code) {
  std::vector<uint32_t> bounds;
  for (uint32_t port = 0; port <= 0xFFFF; ++port) {
    Call call(0, 0, port);
    const bool is_allowed = call.run(code) == CallEnd::kReturned;
    EXPECT_EQ(call.refused_port, is_allowed ? 0 : port);
    if (is_allowed != (bounds.size() % 2 != 0)) {
      bounds.push_back(port);
    }
  }
  return bounds;
}

TEST(RomCall, PortsOfPciServicesAlone) {
  for (const char *code : {"EC C3", "EE C3", "6C C3"}) {  // in, out, ins of a byte
    EXPECT_THAT(bounds_of_allowed_ports(code),
                ElementsAre(0x80, 0x81, 0xCF8, 0xCF9, 0xCFA, 0xCFB, 0xCFC, 0xD00, 0xC000, 0xD000));
  }
  EXPECT_THAT(bounds_of_allowed_ports("66 EF C3"), ElementsAre(0xCFC, 0xCFF, 0xC000, 0xCFFF));
  EXPECT_THAT(bounds_of_allowed_ports("EF C3"), ElementsAre(0xCF8, 0xCF9, 0xCFC, 0xCFD, 0xC000, 0xCFFD));
}

constexpr struct {
  const char *text;
  CallEnd end;
  const char *code;
} kFailures[] = {
    {"hlt", CallEnd::kInstruction, "F4"},
    {"int 0x10", CallEnd::kInstruction, "CD 10"},
    {"ud2", CallEnd::kInstruction, "0F 0B"},
    {"mov cs,ax", CallEnd::kInstruction, "8E C8"},
    {"call far eax", CallEnd::kInstruction, "FF D8"},
    {"opcode C6 /1", CallEnd::kInstruction, "C6 C8 00"},
    {"opcode F6 /1", CallEnd::kInstruction, "F6 C8 00"},
    {"lock mov [esi],eax", CallEnd::kInstruction, "F0 89 06"},
    {"lock add eax,eax", CallEnd::kInstruction, "F0 01 C0"},
    {"lock add al,[esi]", CallEnd::kInstruction, "F0 02 06"},
    {"lock cmp [esi],eax", CallEnd::kInstruction, "F0 39 06"},
    {"lock cmp [esi],0", CallEnd::kInstruction, "F0 83 3E 00"},
    {"lock test [esi],0", CallEnd::kInstruction, "F0 F7 06 00 00 00 00"},
    {"lock push [esi]", CallEnd::kInstruction, "F0 FF 36"},
    {"lock bt [esi],eax", CallEnd::kInstruction, "F0 0F A3 06"},
    {"lock bt [esi],0", CallEnd::kInstruction, "F0 0F BA 26 00"},
    {"16 bytes", CallEnd::kInstruction, "3E 3E 3E 3E 3E 3E 3E 3E 3E 3E 3E B8 78 56 34 12 C3"},
    {"div by zero", CallEnd::kDivision, "31 C9 F7 F1"},
    {"idiv of the smallest by -1", CallEnd::kDivision, "31 C0 BA 00 00 00 80 83 C9 FF F7 F9"},
    {"aam 0", CallEnd::kDivision, "D4 00"},
    {"write to the ROM", CallEnd::kMemory, "A2 00 00 0F 00 C3"},
    {"read across a window's end", CallEnd::kMemory, "8B 86 FD 00 00 00 C3"},
    {"read across a window's start", CallEnd::kMemory, "8B 46 FF C3"},
    {"read across the top of memory", CallEnd::kMemory, "A1 FE FF FF FF C3"},
    {"code that runs out of its window", CallEnd::kMemory, "90"},
    {"jump to the reset vector", CallEnd::kMemory, "B8 F0 FF FF FF FF E0"},
    {"16-bit return", CallEnd::kMemory, "66 C3"},
    {"stack used up", CallEnd::kMemory, "60 EB FD"},
    {"stack lost", CallEnd::kMemory, "31 E4 50 C3"},
    {"rep movsb out of the window", CallEnd::kMemory, "B9 00 10 00 00 F3 A4 C3"},
    {"shld of the ROM by 0", CallEnd::kMemory, "0F A4 05 00 00 0F 00 00 C3"},
    {"cmpxchg of the ROM, unequal", CallEnd::kMemory, "0F B1 05 00 00 0F 00 C3"},
    {"endless loop", CallEnd::kBudget, "EB FE"},
};

TEST(RomCall, Failures) {
  for (const auto &[text, end, code] : kFailures) {
    SCOPED_TRACE(text);
    Call call(0x12345678);
    const x86_reg_t before = call.reg;
    EXPECT_EQ(call.run(code, 5000), end);
    EXPECT_EQ(memcmp(&call.reg, &before, sizeof(before)), 0);
  }
}

TEST(RomCall, ChargesWhatThingsCost) {
  const std::pair<const char *, uint64_t> rows[] = {
      {"90 90 C3", 3},
      {"B9 08 00 00 00 F3 A4 C3", 11},                        // rep movsb: two accesses a repetition
      {"60 61 C3", 1 + 6 + 1 + 6 + 1},                        // pushad; popad
      {"89 E5 C8 00 00 1F C9 C3", 1 + (1 + 62 - 2) + 1 + 1},  // mov ebp,esp; enter 0,31; leave
      {"F3 66 26 26 26 90 C3", 1 + 3 + 1},                    // two prefixes are free
      {"E6 80 C3", 1 + kPortCost + 1},
  };
  for (const auto &[code, taken] : rows) {
    EXPECT_EQ(Call().run(code, taken - 1), CallEnd::kBudget) << code;
    EXPECT_EQ(Call().run(code, taken), CallEnd::kReturned) << code;
  }
}

}  // namespace
