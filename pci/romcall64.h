// The low-level call into ROM code.
//
// System ROM services are 32-bit flat protected-mode code that addresses memory physically. They are
// interpreted here, never run on the processor, so that code that is wrong, hostile or endless can only make
// its call fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// The registers exchanged with ROM code.
struct x86_reg_t {
  union {
    struct {
      uint32_t reax;
    } s1;
    struct {
      uint16_t rax, rea1;
    } s2;
    struct {
      uint8_t ral, rah;
      uint16_t rea2;
    } s3;
  } u1;
  union {
    struct {
      uint32_t rebx;
    } s1;
    struct {
      uint16_t rbx, reb1;
    } s2;
    struct {
      uint8_t rbl, rbh, reb2l, reb2h;
    } s3;
  } u2;
  union {
    struct {
      uint32_t recx;
    } s1;
    struct {
      uint16_t rcx, rec1;
    } s2;
    struct {
      uint8_t rcl, rch;
      uint16_t rec2;
    } s3;
  } u3;
  union {
    struct {
      uint32_t redx;
    } s1;
    struct {
      uint16_t rdx, red1;
    } s2;
    struct {
      uint8_t rdl, rdh;
      uint16_t red2;
    } s3;
  } u4;
  uint32_t resi;
  uint32_t redi;
  uint16_t rds;
  uint16_t res;
  uint16_t rfs;
  uint16_t rgs;
  uint16_t rss;
  uint16_t rsp;
  uint32_t reflags;  // bit 0 is the carry flag
};
static_assert(sizeof(x86_reg_t) == 40);
static_assert(offsetof(x86_reg_t, u1.s2.rea1) == 2 && offsetof(x86_reg_t, u1.s3.rah) == 1);
static_assert(offsetof(x86_reg_t, u1.s3.rea2) == 2);
static_assert(offsetof(x86_reg_t, u2) == 4 && offsetof(x86_reg_t, u2.s2.reb1) == 6);
static_assert(offsetof(x86_reg_t, u2.s3.rbh) == 5 && offsetof(x86_reg_t, u2.s3.reb2l) == 6);
static_assert(offsetof(x86_reg_t, u2.s3.reb2h) == 7);
static_assert(offsetof(x86_reg_t, u3) == 8 && offsetof(x86_reg_t, u3.s2.rec1) == 10);
static_assert(offsetof(x86_reg_t, u3.s3.rch) == 9 && offsetof(x86_reg_t, u3.s3.rec2) == 10);
static_assert(offsetof(x86_reg_t, u4) == 12 && offsetof(x86_reg_t, u4.s2.red1) == 14);
static_assert(offsetof(x86_reg_t, u4.s3.rdh) == 13 && offsetof(x86_reg_t, u4.s3.red2) == 14);
static_assert(offsetof(x86_reg_t, resi) == 16 && offsetof(x86_reg_t, redi) == 20);
static_assert(offsetof(x86_reg_t, rds) == 24 && offsetof(x86_reg_t, res) == 26);
static_assert(offsetof(x86_reg_t, rfs) == 28 && offsetof(x86_reg_t, rgs) == 30);
static_assert(offsetof(x86_reg_t, rss) == 32 && offsetof(x86_reg_t, rsp) == 34);
static_assert(offsetof(x86_reg_t, reflags) == 36);

// Memory that ROM code may touch: `size` bytes at guest address `base` are the host's bytes at `host`, which
// are only read unless `writable`. Windows do not overlap; an access must lie within one window.
struct MemoryWindow {
  uint32_t base;
  void *host;
  uint32_t size;
  bool writable;
};

// Guest addresses. The stack lies below the ROM area; windows that a caller lends start at kLentBase or
// above. A return to kReturnAddress ends the call. No window covers it and no code names it; the processor's
// reset vector, for example, would let a ROM that resets pass for one that returns.
inline constexpr uint32_t kStackBase = 0x00080000;
inline constexpr uint32_t kStackSize = 0x4000;
inline constexpr uint32_t kLentBase = 0x00100000;
inline constexpr uint32_t kReturnAddress = 0x0007DA35;

// The segment registers when ROM code starts. Every segment has base 0; the values only travel.
// None is 0, so that a service that leaves ES alone reports a usable selector.
inline constexpr uint16_t kCodeSelector = 0x0008;
inline constexpr uint16_t kDataSelector = 0x0010;

// EFLAGS when ROM code starts: interrupts enabled, and bit 1, which is always set.
inline constexpr uint32_t kInitialEflags = 0x00000202;

// The budget of one call. An instruction, or a repetition of a string instruction, costs 1, and 1 more for
// each prefix and each access to memory beyond the second. An access to a port costs what a thousand
// instructions do.
inline constexpr uint64_t kCallBudget = 5'000'000;
inline constexpr uint64_t kPortCost = 1000;

// Windows that a caller may lend.
inline constexpr size_t kMaxLent = 7;

// The machine that a call runs in. The call adds the stack; I/O ports are reached through pci/portio.h.
struct RomMachine {
  MemoryWindow rom;
  std::span<const MemoryWindow> lent;
  uint64_t budget = kCallBudget;  // what is left of it; a call counts it down
  uint32_t refused_port = 0;      // set by a call that ends with kPort
};

enum class CallEnd {
  kReturned,     // a near or far return to kReturnAddress
  kMemory,       // an access outside the windows, a write to one that is not writable, or too many windows
  kInstruction,  // an instruction that is unknown, privileged or not to be run here, a trap, or HLT
  kDivision,     // a division by zero, or a quotient that does not fit
  kPort,         // an access to an I/O port that no PCI BIOS service needs
  kBudget,       // the budget ran out
};

// Loads EAX, EBX, ECX, EDX, ESI and EDI from *reg, makes a near call to guest address `entry_point`, and
// stores the six registers, DS, ES and EFLAGS back into *reg. Unless the call returned, *reg is unchanged.
CallEnd rom_call(x86_reg_t *reg, uint32_t entry_point, RomMachine &machine);
