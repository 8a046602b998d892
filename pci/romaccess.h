// ROM services: the system ROM mapped from physical memory, its service entry points, and calls into it.
//
// No program here uses rom_peek, the INT 15h entry and the service "$EVS": they are the interface for others.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "pci/romcall64.h"

inline constexpr uint32_t kRomBase = 0xA0000;  // physical address of the ROM area
inline constexpr uint32_t kRomSize = 0x60000;  // its bytes; it ends with the first megabyte

struct rominfo {
  int fd_mem;                           // descriptor of the physical memory
  const uint8_t *rom;                   // the mapped ROM area, or null
  const uint8_t *int15_entry_point;     // each entry point lies in the mapped area, or is null
  const uint8_t *ev_entry_point;        // service "$EVS"
  const uint8_t *pci_bios_entry_point;  // service "$PCI"
  uint16_t pci_es;                      // ES of the PCI BIOS presence call, or 0; see pci_bios_present
  bool port_named;                      // an I/O port that was refused has been reported
};
using rominfo_t = rominfo;

// BIOS32 Service Directory header, on a 16-byte boundary.
union bios_t {
  __extension__ struct {
    char signature[4];  // "_32_"
    uint32_t entry;     // physical address of the directory's entry point
    uint8_t revision;   // 0
    uint8_t length;     // of the header, in 16-byte units; not 0
    uint8_t checksum;   // makes the header's bytes sum to 0
    uint8_t reserved[5];
  };
  char chars[16];
};
static_assert(sizeof(bios_t) == 16);
static_assert(offsetof(bios_t, entry) == 4 && offsetof(bios_t, revision) == 8);
static_assert(offsetof(bios_t, length) == 9 && offsetof(bios_t, checksum) == 10);
static_assert(offsetof(bios_t, reserved) == 11);

// The budget of one service call with its retries, or of one search with all its calls (see kCallBudget). A
// ROM that takes 150,000 instructions for each of 501 busy answers still fits. `-i` makes one search and two
// service calls: over the slowest ROM that we could build it took 6 s on two busy cores.
inline constexpr uint64_t kServiceBudget = 17 * kCallBudget;

inline constexpr uint8_t kPciBios = 0xB1;         // AH of the PCI BIOS's calls
inline constexpr uint8_t kPciBiosPresent = 0x81;  // AL of its presence call
inline constexpr int kRomCallMode = 2;            // do_rom_call's `mode`

// romcall_init's `skip`: the INT 15h entry, the "$EVS" search, everything from the PCI BIOS search on.
inline constexpr int kSkipInt15 = 1;
inline constexpr int kSkipEv = 2;
inline constexpr int kSkipPciBios = 4;

// Maps the ROM area, reads it once, checks that the ROM is the maker's and finds the entry points. Returns 0,
// or -1 after a message on standard error. A failed identity check leaves the area mapped for romcall_fini to
// release; any other failure leaves nothing open.
int romcall_init(rominfo *ri, int skip);

// Unmaps and closes. Returns 0, or -1 after a message on standard error; 0 too when nothing is open.
int romcall_fini(rominfo *ri);

// 1 if the ROM bears the maker's mark, else 0.
int check_for_veldra_ROM(const rominfo *ri);

// The first service directory header at `rom_start` (16-byte aligned in the mapped area) or above, or null.
const bios_t *find_bios32_call(const rominfo *ri, const uint8_t *rom_start);

// The entry point of the service `signature` (four characters), or null if no directory knows it or the first
// one that does gives an entry point outside the ROM area, which is then reported on standard error. All
// calls together may take `budget` instructions.
const uint8_t *find_call(rominfo *ri, const char *signature, uint64_t budget = kServiceBudget);

// The lookups of romcall_init; each stores the entry point, or null, in *ri.
void find_int15_call(rominfo *ri);
void find_ev_call(rominfo *ri);
void find_pci_bios_call(rominfo *ri);

// Makes the PCI BIOS presence call and returns do_rom_call's result. If that is 0, sets pci_es to the ES that
// the call returned; otherwise to 0.
int pci_bios_present(rominfo *ri, const uint8_t *entry_point);

// Calls ROM code at `entry_point` with *reg, again while it answers busy, and writes the registers back to
// *reg. Returns AH, or minus AH if carry came back set. Returns -1, with *reg as it was, if I/O privilege
// cannot be had or the ROM code failed. `lent` are memory windows that the code may touch besides the ROM
// area and its stack, at kLentBase or above (see pci/romcall64.h); registers hold guest addresses in them.
// `mode` is not interpreted.
int do_rom_call(rominfo *ri, x86_reg_t *reg, const uint8_t *entry_point, int mode,
                std::span<const MemoryWindow> lent = {});

// Copies `size` bytes at physical `addr` out of the ROM area. Returns 0, or -1 unless all lie inside it.
int rom_peek(const rominfo *ri, uint32_t addr, void *buffer, size_t size);

// Writes 0 to the unlock port of the management controller, if there is one: makes a ROM stop answering busy.
void unlock_rom();
