#include "pci/romcall64.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pci/x86_interpreter.h"
#include "tests/pci/fake_portio.h"

namespace {

using x86::kAdjust;
using x86::kCarry;
using x86::kDirection;
using x86::kOverflow;
using x86::kParity;
using x86::kSign;
using x86::kZero;

constexpr uint32_t kArithmetic = kCarry | kParity | kAdjust | kZero | kSign | kOverflow;
constexpr uint32_t kCodeAt = 0xF0000;

std::vector<uint8_t> bytes(const char *hex) {
  std::vector<uint8_t> result;
  for (const char *at = hex; *at != '\0';) {
    char *end = nullptr;
    result.push_back(static_cast<uint8_t>(strtoul(at, &end, 16)));
    at = *end == ' ' ? end + 1 : end;
  }
  return result;
}

// A call with ESI at 256 bytes 00 01 .. FF at kLentBase, and EDI in the middle of them.
struct Call {
  uint8_t buffer[256];
  x86_reg_t reg = {};

  Call() {
    for (size_t i = 0; i < sizeof(buffer); ++i) {
      buffer[i] = static_cast<uint8_t>(i);
    }
    reg.resi = kLentBase;
    reg.redi = kLentBase + 0x80;
  }

  CallEnd run(const std::string &hex, uint64_t budget = 1000) {
    std::vector<uint8_t> code = bytes(hex.c_str());
    const MemoryWindow windows[] = {{kCodeAt, code.data(), static_cast<uint32_t>(code.size()), false},
                                    {kLentBase, buffer, sizeof(buffer), true}};
    RomMachine machine{windows, budget};
    return rom_call(&reg, kCodeAt, machine);
  }
};

struct Row {
  const char *text;
  const char *code;  // without the return
  uint32_t eax, ecx, edx;
  uint32_t eax_after, ecx_after, edx_after;
  uint32_t flags_after = 0;
  uint32_t flags_compared = 0;
};

constexpr Row kRows[] = {
    // Flags at boundaries.
    {"add al,1 to the sign", "04 01", 0x7F, 0, 0, 0x80, 0, 0, kSign | kOverflow | kAdjust, kArithmetic},
    {"add ax,1 over the top", "66 83 C0 01", 0xABCDFFFF, 0, 0, 0xABCD0000, 0, 0,
     kCarry | kZero | kAdjust | kParity, kArithmetic},
    {"stc; adc ecx,-1", "F9 83 D1 FF", 0, 5, 0, 0, 5, 0, kCarry | kParity | kAdjust, kArithmetic},
    {"stc; sbb eax,ecx", "F9 19 C8", 0, 0xFFFFFFFF, 0, 0, 0xFFFFFFFF, 0, kCarry | kZero | kParity | kAdjust,
     kArithmetic},
    {"cmp eax,ecx", "39 C8", 0x80000000, 1, 0, 0x80000000, 1, 0, kOverflow | kParity | kAdjust, kArithmetic},
    {"stc; inc eax keeps carry", "F9 40", 0x7FFFFFFF, 0, 0, 0x80000000, 0, 0,
     kCarry | kOverflow | kSign | kParity | kAdjust, kArithmetic},
    {"neg 0 clears carry", "F9 F7 D8", 0, 0, 0, 0, 0, 0, kZero | kParity, kArithmetic},
    {"neg of the smallest", "F6 D8", 0x80, 0, 0, 0x80, 0, 0, kCarry | kOverflow | kSign, kArithmetic},
    {"xor clears carry and overflow", "F9 31 C0", 7, 0, 0, 0, 0, 0, kZero | kParity, kArithmetic & ~kAdjust},
    {"daa", "27", 0x9A, 0, 0, 0, 0, 0, kCarry | kAdjust | kZero | kParity, kArithmetic & ~kOverflow},
    {"das", "2F", 0x05, 0, 0, 0x05, 0, 0, kParity, kArithmetic & ~kOverflow},
    {"aaa carries into AH", "37", 0x01FA, 0, 0, 0x0300, 0, 0, kCarry | kAdjust, kCarry | kAdjust},
    {"aas", "3F", 0x0200, 0, 0, 0x0200, 0, 0, 0, kCarry | kAdjust},
    {"aam", "D4 0A", 75, 0, 0, 0x0705, 0, 0, kParity, kSign | kZero | kParity},
    {"aad", "D5 0A", 0x0705, 0, 0, 75, 0, 0, kParity, kSign | kZero | kParity},
    // Shifts and rotates.
    {"shl eax,1", "D1 E0", 0x80000001, 0, 0, 2, 0, 0, kCarry | kOverflow, kCarry | kOverflow | kZero},
    {"shl eax,32 does nothing", "F9 C1 E0 20", 5, 0, 0, 5, 0, 0, kCarry, kCarry},
    {"sar al,9", "C0 F8 09", 0x80, 0, 0, 0xFF, 0, 0, kCarry | kSign | kParity,
     kCarry | kSign | kParity | kZero},
    {"stc; rcl al,9 is the identity", "F9 C0 D0 09", 0x5A, 0, 0, 0x5A, 0, 0, kCarry, kCarry},
    {"stc; rcr ax,1", "F9 66 D1 D8", 0x0001, 0, 0, 0x8000, 0, 0, kCarry | kOverflow, kCarry | kOverflow},
    {"ror al,cl", "D2 C8", 0x01, 8, 0, 0x01, 8, 0, 0, kCarry},
    {"shld eax,edx,8", "0F A4 D0 08", 0x12345678, 0, 0x9ABCDEF0, 0x3456789A, 0, 0x9ABCDEF0, 0, kCarry},
    {"shrd ax,dx,cl", "66 0F AD D0", 0x1234, 4, 0xABCD, 0xD123, 4, 0xABCD, 0, kCarry},
    // Multiplication, division.
    {"mul cl", "F6 E1", 0x10, 0x10, 0, 0x100, 0x10, 0, kCarry | kOverflow, kCarry | kOverflow},
    {"imul ecx", "F7 E9", 0xFFFFFFFF, 2, 0, 0xFFFFFFFE, 2, 0xFFFFFFFF, 0, kCarry | kOverflow},
    {"imul ax,cx,-2", "66 6B C1 FE", 0xAAAA0000, 0x4001, 0, 0xAAAA7FFE, 0x4001, 0, kCarry | kOverflow,
     kCarry | kOverflow},
    {"div ecx", "F7 F1", 1, 3, 1, 0x55555555, 3, 2},
    {"idiv cl", "F6 F9", 0xFFF9, 2, 0, 0xFFFD, 2, 0},
    // Partial registers, extension, exchange.
    {"mov ah,dl", "88 D4", 0x11223344, 0, 0x99, 0x11229944, 0, 0x99},
    {"mov ax,imm16", "66 B8 34 12", 0xFFFFFFFF, 0, 0, 0xFFFF1234, 0, 0},
    {"movzx, movsx", "0F B6 C1 0F BF D1", 9, 0x8081, 9, 0x81, 0x8081, 0xFFFF8081},
    {"cwde; cdq", "98 99", 0x8000, 0, 0, 0xFFFF8000, 0, 0xFFFFFFFF},
    {"bswap", "0F C8", 0x12345678, 0, 0, 0x78563412, 0, 0},
    {"xchg al,ah", "86 C4", 0x1234, 0, 0, 0x3412, 0, 0},
    {"cmpxchg equal", "0F B1 D1", 5, 5, 7, 5, 7, 7, kZero, kZero},
    {"cmpxchg unequal", "0F B1 D1", 5, 6, 7, 6, 6, 7, 0, kZero},
    {"xadd eax,eax", "0F C1 C0", 3, 0, 0, 6, 0, 0},
    {"setl dl", "39 C8 0F 9C C2", 0x80000000, 1, 0, 0x80000000, 1, 1},
    {"lahf; sahf", "9F 80 F4 C1 9E", 0, 0, 0, 0xC300, 0, 0, kSign | kZero | kCarry, kArithmetic},
    {"bt beyond the operand", "0F A3 16", 0, 0, 0x20 * 8 + 5, 0, 0, 0x105, kCarry, kCarry},
    {"lock bts below the operand", "8D 76 04 F0 0F AB 16 8B 46 FC", 0, 0, 0xFFFFFFFF, 0x83020100, 0,
     0xFFFFFFFF, 0, kCarry},
    {"bsf, bsr", "0F BC C1 0F BD D1", 0, 0x00018010, 0, 4, 0x00018010, 16, 0, kZero},
    // Addressing, prefixes.
    {"mov eax,[esi+ecx*4+3]", "8B 44 8E 03", 0, 2, 0, 0x0E0D0C0B, 2, 0},
    {"mov eax,[disp32]", "A1 10 00 10 00", 0, 0, 0, 0x13121110, 0, 0},
    {"lea eax,[bx+di-1]", "67 8D 41 FF", 0xFFFFFFFF, 0, 0, 0x7F, 0, 0},
    {"es: mov al,[esi+5]", "26 8A 46 05", 0, 0, 0, 5, 0, 0},
    {"xlat", "89 FB D7", 0xAA000033, 0, 0, 0xAA0000B3, 0, 0},
    {"pause, nop [eax]", "F3 90 0F 1F 00", 1, 2, 3, 1, 2, 3},
    {"15 bytes", "3E 3E 3E 3E 3E 3E 3E 3E 3E 3E B8 78 56 34 12", 0, 0, 0, 0x12345678, 0, 0},
    // Strings.
    {"rep movsd", "F3 A5 8B 47 F8", 0, 2, 0, 0x03020100, 0, 0},
    {"std; rep movsb downwards", "FD 83 C6 03 F3 A4 FC 8A 47 01 8A 67 04", 0, 4, 0, 0x0300, 0, 0},
    {"rep stosb with CX", "F3 67 AA", 0, 0x10000, 0, 0, 0x10000, 0},
    {"repne scasb", "87 F7 F2 AE", 7, 20, 0, 7, 12, 0, kZero, kZero},
    {"repe cmpsb", "C6 07 00 F3 A6", 0, 9, 0, 0, 7, 0, kCarry, kCarry | kZero},
    {"rep lodsb, count 0", "F3 AC", 0x55, 0, 0, 0x55, 0, 0},
    // Stack and control flow.
    {"pushad; popad skips ESP", "60 31 C0 31 C9 31 D2 61", 1, 2, 3, 1, 2, 3},
    {"push esp; pop eax; sub eax,esp", "54 58 29 E0", 1, 0, 0, 0, 0, 0},
    {"pop [esp] addresses after the pop", "6A 01 6A 02 8F 04 24 58", 0, 0, 0, 2, 0, 0},
    {"enter 8,2; leave", "55 8D 6C 24 08 C8 08 00 02 8B 45 FC 8B 4D F8 29 E9 89 EA 29 E2 C9 5D", 0, 0, 0,
     kReturnAddress, 0, 16},
    {"popfd sets DF, not IF", "9C 68 00 04 00 00 9D 9C 58 9D", 0, 0, 0, 0x602, 0, 0, 0, kDirection},
    {"call; ret 4", "6A 07 E8 02 00 00 00 EB 07 8B 44 24 04 C2 04 00", 0, 0, 0, 7, 0, 0},
    {"push cs; call; retf", "0E E8 02 00 00 00 EB 02 40 CB", 0, 0, 0, 1, 0, 0},
    {"call far", "9A 09 00 0F 00 08 00 EB 02 40 CB", 0, 0, 0, 1, 0, 0},
    {"call far [mem]", "C7 06 11 00 0F 00 C7 46 04 08 00 00 00 FF 1E EB 02 40 CB", 0, 0, 0, 1, 0, 0},
    {"jmp far", "EA 09 00 0F 00 08 00 F4 F4 40", 0, 0, 0, 1, 0, 0},
    {"jmp far [mem]", "C7 06 11 00 0F 00 C7 46 04 08 00 00 00 FF 2E F4 F4 40", 0, 0, 0, 1, 0, 0},
    {"lfs; lgs", "0F B4 06 8C E1 0F B5 46 06 8C EA", 0, 0, 0, 0x09080706, 0x0504, 0x0B0A},
    {"lds; lss", "C5 06 8C D9 0F B2 46 06 8C D2", 0, 0, 0, 0x09080706, 0x0504, 0x0B0A},
    {"mov fs,ax; push fs; pop gs", "8E E0 0F A0 0F A9 8C E9", 0x1234, 0, 0, 0x1234, 0x1234, 0},
    {"pushfd; push cs; push; iretd", "9C 0E 68 0A 00 0F 00 CF F4 F4 40", 0, 0, 0, 1, 0, 0},
    {"jmp [mem]", "C7 06 0A 00 0F 00 FF 26 F4 F4 40", 0, 0, 0, 1, 0, 0},
    {"loop", "40 E2 FD", 0, 3, 0, 3, 0, 0},
    {"loopne", "40 3C 06 E0 FB", 3, 9, 0, 6, 6, 0},
    {"jecxz", "E3 01 F4", 0, 0, 0, 0, 0, 0},
    {"into, bound inside", "CE C7 06 00 00 00 00 C7 46 04 01 00 00 00 62 0E", 0, 1, 0, 0, 1, 0},
    {"cpuid has no extensions", "0F A2", 1, 9, 9, 0x480, 0, 0},
    {"cli; sti; cmc; std; cld", "FA FB F5 FD FC", 0, 0, 0, 0, 0, 0, kCarry, kCarry | kDirection},
};

TEST(RomCall, Instructions) {
  for (const Row &row : kRows) {
    SCOPED_TRACE(row.text);
    Call call;
    call.reg.u1.s1.reax = row.eax;
    call.reg.u3.s1.recx = row.ecx;
    call.reg.u4.s1.redx = row.edx;
    EXPECT_EQ(call.run(std::string(row.code) + " C3"), CallEnd::kReturned);
    EXPECT_EQ(call.reg.u1.s1.reax, row.eax_after);
    EXPECT_EQ(call.reg.u3.s1.recx, row.ecx_after);
    EXPECT_EQ(call.reg.u4.s1.redx, row.edx_after);
    EXPECT_EQ(call.reg.reflags & row.flags_compared, row.flags_after);
  }
}

TEST(RomCall, ReturnsNearAndFar) {
  for (const char *code : {"C3", "C2 08 00", "CB", "CA 08 00", "CF", "58 FF E0"}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(Call().run(code), CallEnd::kReturned);
  }
}

TEST(RomCall, CarriesRegistersIn) {
  Call call;
  call.reg.u2.s1.rebx = 0x22222222;
  call.reg.rds = call.reg.res = 0x7777;  // not loaded
  // add eax,ebx; mov [esi],edi; xchg esi,edi; ret
  EXPECT_EQ(call.run("01 D8 89 3E 87 F7 C3"), CallEnd::kReturned);
  EXPECT_EQ(call.reg.u1.s1.reax, 0x22222222u);
  EXPECT_EQ(call.reg.resi, kLentBase + 0x80);
  EXPECT_EQ(call.reg.redi, kLentBase);
  EXPECT_EQ(call.reg.rds, kDataSelector);
  EXPECT_EQ(call.reg.res, kDataSelector);
  EXPECT_EQ(call.buffer[0], 0x80);
  EXPECT_EQ(call.buffer[2], 0x10);
}

TEST(RomCall, SegmentRegistersTravel) {
  Call call;
  // les eax,[esi]; push cs; pop ds; mov fs,ax; mov ecx,fs; mov edx,ss; retf
  EXPECT_EQ(call.run("C4 06 0E 1F 8E E0 8C E1 8C D2 CB"), CallEnd::kReturned);
  EXPECT_EQ(call.reg.u1.s1.reax, 0x03020100u);
  EXPECT_EQ(call.reg.res, 0x0504);
  EXPECT_EQ(call.reg.rds, kCodeSelector);
  EXPECT_EQ(call.reg.u3.s1.recx, 0x0100u);
  EXPECT_EQ(call.reg.u4.s1.redx, kDataSelector);
}

TEST(RomCall, Ports) {
  fake_portio::reset();
  fake_portio::answer = [](uint16_t port, unsigned size) { return port * 0x01010101u + size; };
  Call call;
  call.reg.u4.s1.redx = 0xFFFF0CF8;
  call.reg.u3.s1.recx = 2;
  // out dx,eax; in ax,dx; out 0x80,al; rep insb; mov ecx,1; rep outsw; ret
  EXPECT_EQ(call.run("EF 66 ED E6 80 F3 6C B9 01 00 00 00 F3 66 6F C3"), CallEnd::kReturned);
  EXPECT_EQ(call.reg.u1.s1.reax, (0xCF8 * 0x01010101u + 2) & 0xFFFF);
  EXPECT_EQ(call.buffer[0x81], 0xF9);
  EXPECT_EQ(call.reg.redi, kLentBase + 0x82);
  const std::vector<fake_portio::Write> writes = {{0xCF8, 4, 0}, {0x80, 1, 0xFA}, {0xCF8, 2, 0x0100}};
  EXPECT_EQ(fake_portio::writes, writes);

  // An instruction that fails must not reach a port: out imm8 without its byte, lock out, outs of nothing.
  fake_portio::writes.clear();
  for (const char *code : {"E6", "F0 EE", "31 F6 6E", "F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 F3 E6 80"}) {
    EXPECT_NE(Call().run(code), CallEnd::kReturned) << code;
  }
  EXPECT_TRUE(fake_portio::writes.empty());
}

struct Failure {
  const char *text;
  const char *code;
  CallEnd end;
};

constexpr Failure kFailures[] = {
    {"hlt", "F4", CallEnd::kInstruction},
    {"int3", "CC", CallEnd::kInstruction},
    {"int 0x10", "CD 10", CallEnd::kInstruction},
    {"into after overflow", "B0 7F 04 01 CE", CallEnd::kInstruction},
    {"bound, outside", "31 C9 62 0E", CallEnd::kInstruction},
    {"bound of registers", "62 C0", CallEnd::kInstruction},
    {"ud2", "0F 0B", CallEnd::kInstruction},
    {"fninit", "DB E3", CallEnd::kInstruction},
    {"mov eax,cr0", "0F 20 C0", CallEnd::kInstruction},
    {"lgdt [esi]", "0F 01 16", CallEnd::kInstruction},
    {"wrmsr", "0F 30", CallEnd::kInstruction},
    {"mov cs,ax", "8E C8", CallEnd::kInstruction},
    {"mov from the seventh segment register", "8C F0", CallEnd::kInstruction},
    {"lea eax,eax", "8D C0", CallEnd::kInstruction},
    {"opcode C6 /1", "C6 C8 00", CallEnd::kInstruction},
    {"opcode F6 /1", "F6 C8 00", CallEnd::kInstruction},
    {"opcode FF /7", "FF F8", CallEnd::kInstruction},
    {"opcode 0F BA /3", "0F BA D8 00", CallEnd::kInstruction},
    {"les eax,eax", "C4 C0", CallEnd::kInstruction},
    {"call far eax", "FF D8", CallEnd::kInstruction},
    {"lock mov [esi],eax", "F0 89 06", CallEnd::kInstruction},
    {"lock add eax,eax", "F0 01 C0", CallEnd::kInstruction},
    {"lock cmp [esi],eax", "F0 39 06", CallEnd::kInstruction},
    {"lock bt [esi],eax", "F0 0F A3 06", CallEnd::kInstruction},
    {"16 bytes", "3E 3E 3E 3E 3E 3E 3E 3E 3E 3E 3E B8 78 56 34 12 C3", CallEnd::kInstruction},
    {"div by zero", "31 C9 F7 F1", CallEnd::kDivision},
    {"div, quotient too large", "BA 01 00 00 00 B9 01 00 00 00 F7 F1", CallEnd::kDivision},
    {"idiv of the smallest by -1", "31 C0 BA 00 00 00 80 83 C9 FF F7 F9", CallEnd::kDivision},
    {"idiv, quotient one too large", "66 B8 00 FF B1 FE F6 F9", CallEnd::kDivision},
    {"aam 0", "D4 00", CallEnd::kDivision},
    {"write to the ROM", "A2 00 00 0F 00", CallEnd::kMemory},
    {"read of nothing", "A1 00 00 00 00", CallEnd::kMemory},
    {"read across a window's end", "8B 86 FD 00 00 00", CallEnd::kMemory},
    {"read across a window's start", "8B 46 FF", CallEnd::kMemory},
    {"read across the top of memory", "A1 FE FF FF FF", CallEnd::kMemory},
    {"code that runs out of its window", "90", CallEnd::kMemory},
    {"jump to nothing", "31 C0 FF E0", CallEnd::kMemory},
    {"16-bit return", "66 C3", CallEnd::kMemory},
    {"stack used up", "60 EB FD", CallEnd::kMemory},
    {"stack lost", "31 E4 50", CallEnd::kMemory},
    {"rep movsb out of the window", "B9 00 10 00 00 F3 A4 C3", CallEnd::kMemory},
    {"endless loop", "EB FE", CallEnd::kBudget},
};

TEST(RomCall, Failures) {
  for (const Failure &row : kFailures) {
    SCOPED_TRACE(row.text);
    Call call;
    call.reg.u1.s1.reax = 0x12345678;
    const x86_reg_t before = call.reg;
    EXPECT_EQ(call.run(row.code, 5000), row.end);
    EXPECT_EQ(std::memcmp(&call.reg, &before, sizeof(before)), 0);
  }
}

TEST(RomCall, CountsInstructionsAndRepetitions) {
  EXPECT_EQ(Call().run("90 90 C3", 2), CallEnd::kBudget);
  EXPECT_EQ(Call().run("90 90 C3", 3), CallEnd::kReturned);
  EXPECT_EQ(Call().run("B9 08 00 00 00 F3 A4 C3", 10), CallEnd::kBudget);
  EXPECT_EQ(Call().run("B9 08 00 00 00 F3 A4 C3", 11), CallEnd::kReturned);
}

TEST(RomCall, RefusesMoreWindowsThanItHolds) {
  const MemoryWindow windows[kMaxWindows + 1] = {};
  RomMachine machine{windows};
  x86_reg_t reg = {};
  EXPECT_EQ(rom_call(&reg, kCodeAt, machine), CallEnd::kMemory);
}

}  // namespace
