#include "pci/romaccess.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

#include "pci/paths.h"
#include "pci/pci_config_header.h"
#include "pci/pcicall.h"
#include "pci/portio.h"
#include "util/ownership.h"

namespace {

constexpr uint32_t kIdentityAddress = 0xFFFEA;
constexpr char kIdentity[] = "VELDRA";
constexpr uint32_t kInt15Address = 0xFF859;

constexpr uint32_t kCarryFlag = 1;  // in EFLAGS
constexpr uint32_t kIoSpace = 1;    // in a base address register
constexpr uint8_t kBusy = 0x8A;     // AH of a ROM that asks to be called again
constexpr int kBusyAnswersBeforeUnlock = 500;

// The management controller's PCI function, and its unlock port after the I/O base.
constexpr uint16_t kUnlockVendor = 0x7A79;
constexpr uint16_t kUnlockDevices[] = {0x3300, 0x3301, 0x3302};
constexpr uint32_t kUnlockPortOffset = 0xE1;

uint32_t physical_address(const rominfo *ri, const uint8_t *place) {
  return kRomBase + static_cast<uint32_t>(place - ri->rom);
}

bool in_rom_area(uint32_t address) {
  return address - kRomBase < kRomSize;
}

const uint8_t *rom_at(const rominfo *ri, uint32_t address) {
  return ri->rom + (address - kRomBase);
}

bool points_into_rom(const rominfo *ri, const uint8_t *place) {
  return ri->rom != nullptr && place >= ri->rom && place < ri->rom + kRomSize;
}

// The limits of all calls for one purpose: a service with its retries, or a search.
struct Allowance {
  uint64_t budget;
  int busy_answers = 0;
  bool unlocked = false;
};

bool may_use_ports() {
  if (raise_io_privilege() != 0) {
    perror("iopl(3)");
    return false;
  }
  return true;
}

// Names the first refused port, so that a maker's ROM that needs it can be reported. A hostile ROM gets one
// line.
void name_refused_port(rominfo *ri, uint32_t port) {
  if (!ri->port_named) {
    ri->port_named = true;
    fprintf(stderr, "orvlog: The system ROM asked for I/O port 0x%X, which is not allowed.\n", port);
  }
}

// True if a busy answer is to be followed by another call. The retries and the unlock are spent once: after
// the call that follows the unlock a busy answer counts like any other. Retries leave what that call and the
// retry itself may take, so that a slow ROM is unlocked too.
bool call_again(Allowance &allowance) {
  if (allowance.unlocked) {
    return false;
  }
  ++allowance.busy_answers;
  if (allowance.busy_answers == kBusyAnswersBeforeUnlock || allowance.budget < 2 * kCallBudget) {
    unlock_rom();
    allowance.unlocked = true;
  }
  return true;
}

// do_rom_call within `allowance`, in a process that may use ports.
int call_within(rominfo *ri, x86_reg_t *reg, const uint8_t *entry_point, std::span<const MemoryWindow> lent,
                Allowance &allowance) {
  if (!points_into_rom(ri, entry_point)) {
    return -1;
  }
  RomMachine machine{{kRomBase, const_cast<uint8_t *>(ri->rom), kRomSize, false}, lent};
  x86_reg_t work;
  do {
    const uint64_t granted = std::min(allowance.budget, kCallBudget);
    machine.budget = granted;
    work = *reg;
    const CallEnd end = rom_call(&work, physical_address(ri, entry_point), machine);
    allowance.budget -= granted - machine.budget;
    if (end == CallEnd::kPort) {
      name_refused_port(ri, machine.refused_port);
    }
    if (end != CallEnd::kReturned) {
      return -1;
    }
  } while (work.u1.s3.rah == kBusy && call_again(allowance));
  *reg = work;
  return (work.reflags & kCarryFlag) != 0 ? -work.u1.s3.rah : work.u1.s3.rah;
}

// Reads the whole area once: a mapping that the system grants can still fault, a read only fails. Returns
// false after a message.
bool readable_to_the_end(int fd) {
  char page[4096];
  ssize_t got;
  for (uint32_t done = 0; done < kRomSize; done += static_cast<uint32_t>(got)) {
    got = pread(fd, page, sizeof(page), kRomBase + done);
    if (got <= 0) {
      errno = got == 0 ? ENXIO : errno;  // memory that ends before the area does
      perror("reading /dev/mem");
      return false;
    }
  }
  return true;
}

// Maps the area. Returns null after a message.
const uint8_t *map_rom(int fd) {
  // Nothing is executed in place: where the system refuses an executable mapping, readable alone will do.
  void *rom = mmap(nullptr, kRomSize, PROT_READ | PROT_EXEC, MAP_SHARED, fd, kRomBase);
  if (rom == MAP_FAILED) {
    rom = mmap(nullptr, kRomSize, PROT_READ, MAP_SHARED, fd, kRomBase);
  }
  if (rom == MAP_FAILED) {
    perror("mmaping /dev/mem");
    return nullptr;
  }
  if (!readable_to_the_end(fd)) {
    munmap(rom, kRomSize);
    return nullptr;
  }
  return static_cast<const uint8_t *>(rom);
}

bool valid_header(const rominfo *ri, const uint8_t *place) {
  bios_t header;
  if (memcmp(place, "_32_", sizeof(header.signature)) != 0) {
    return false;
  }
  memcpy(&header, place, sizeof(header));
  const size_t size = header.length * size_t{16};
  const size_t left = kRomSize - static_cast<size_t>(place - ri->rom);
  if (header.revision != 0 || size == 0 || size > left) {
    return false;
  }
  uint8_t sum = 0;
  for (size_t i = 0; i < size; ++i) {
    sum = static_cast<uint8_t>(sum + place[i]);
  }
  return sum == 0;
}

bool is_unlock_device(const PCIConfigHeader &header) {
  return header.VendorID == kUnlockVendor && std::find(std::begin(kUnlockDevices), std::end(kUnlockDevices),
                                                       header.DeviceID) != std::end(kUnlockDevices);
}

using Directory = std::unique_ptr<DIR, int (*)(DIR *)>;

// Unlocks if `path` is the unlock device's configuration file; false if it is not.
bool unlock_through(const char *path) {
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
  PCIConfigHeader header;
  if (!file.is_open() || read(file.fd(), &header, sizeof(header)) != static_cast<ssize_t>(sizeof(header)) ||
      !is_unlock_device(header)) {
    return false;
  }
  const uint32_t *bars = header.Type.Zero.BaseAddressReg;
  const uint32_t base = ((bars[0] & kIoSpace) != 0 ? bars[0] : bars[1]) & ~kIoSpace;
  // A port number is 16 bits: what a register holds above them is dropped.
  port_out(static_cast<uint16_t>(base + kUnlockPortOffset), 1, 0);
  return true;
}

// Unlocks through the functions of one bus; false if the unlock device is not among them.
bool unlock_on_bus(const char *bus_name) {
  char path[PATH_MAX];
  snprintf(path, sizeof(path), "%s/%s", pci_proc_dir, bus_name);
  const Directory bus(opendir(path), closedir);
  if (bus == nullptr) {
    return false;
  }
  while (const char *name = next_function_name(bus.get())) {
    snprintf(path, sizeof(path), "%s/%s/%s", pci_proc_dir, bus_name, name);
    if (unlock_through(path)) {
      return true;
    }
  }
  return false;
}

}  // namespace

int check_for_veldra_ROM(const rominfo *ri) {
  return memcmp(rom_at(ri, kIdentityAddress), kIdentity, sizeof(kIdentity) - 1) == 0;
}

int romcall_init(rominfo *ri, int skip) {
  *ri = {};
  Descriptor memory(open(physical_mem_path, O_RDONLY | O_CLOEXEC));
  if (!memory.is_open()) {
    perror("opening /dev/mem");
    return -1;
  }
  ri->rom = map_rom(memory.fd());
  if (ri->rom == nullptr) {
    return -1;
  }
  ri->fd_mem = memory.release();
  if (!check_for_veldra_ROM(ri)) {
    fputs("Not a Orv Stratum Server!\n", stderr);
    return -1;
  }
  if ((skip & kSkipInt15) == 0) {
    find_int15_call(ri);
  }
  if ((skip & kSkipEv) == 0) {
    find_ev_call(ri);
  }
  if ((skip & kSkipPciBios) == 0) {
    find_pci_bios_call(ri);
  }
  return 0;
}

int romcall_fini(rominfo *ri) {
  if (ri->rom == nullptr) {
    return 0;
  }
  if (munmap(const_cast<uint8_t *>(ri->rom), kRomSize) != 0) {
    perror("munmaping /dev/mem");
    return -1;
  }
  ri->rom = nullptr;
  ri->int15_entry_point = nullptr;
  ri->ev_entry_point = nullptr;
  ri->pci_bios_entry_point = nullptr;
  if (close(ri->fd_mem) != 0) {
    perror("closing /dev/mem");
    return -1;
  }
  ri->fd_mem = 0;
  return 0;
}

void find_int15_call(rominfo *ri) {
  ri->int15_entry_point = rom_at(ri, kInt15Address);
}

void find_ev_call(rominfo *ri) {
  ri->ev_entry_point = find_call(ri, "$EVS");
}

void find_pci_bios_call(rominfo *ri) {
  ri->pci_bios_entry_point = find_call(ri, "$PCI");
  if (ri->pci_bios_entry_point != nullptr) {
    pci_bios_present(ri, ri->pci_bios_entry_point);
  }
}

int pci_bios_present(rominfo *ri, const uint8_t *entry_point) {
  x86_reg_t reg = {};
  reg.u1.s3.rah = kPciBios;
  reg.u1.s3.ral = kPciBiosPresent;
  const int result = do_rom_call(ri, &reg, entry_point, kRomCallMode);
  ri->pci_es = result == 0 ? reg.res : 0;
  return result;
}

const bios_t *find_bios32_call(const rominfo *ri, const uint8_t *rom_start) {
  for (const uint8_t *place = rom_start; points_into_rom(ri, place); place += sizeof(bios_t)) {
    if (valid_header(ri, place)) {
      return reinterpret_cast<const bios_t *>(place);
    }
  }
  return nullptr;
}

const uint8_t *find_call(rominfo *ri, const char *signature, uint64_t budget) {
  Allowance allowance = {budget};
  const uint8_t *place = ri->rom;
  bool has_ports = false;
  while (const bios_t *directory = find_bios32_call(ri, place)) {
    const uint32_t entry = directory->entry;
    if (!in_rom_area(entry) || (!has_ports && !may_use_ports())) {
      return nullptr;
    }
    has_ports = true;
    x86_reg_t reg = {};
    memcpy(&reg.u1.s1.reax, signature, sizeof(reg.u1.s1.reax));
    // A call that fails leaves AL as it is, a character of the signature: the search goes on.
    call_within(ri, &reg, rom_at(ri, entry), {}, allowance);
    if (reg.u1.s3.ral != 0) {
      place = reinterpret_cast<const uint8_t *>(directory) + sizeof(bios_t);
      continue;
    }
    const uint32_t service = reg.u2.s1.rebx + reg.u4.s1.redx;
    if (!in_rom_area(service)) {
      // Only printed, in the form that %p gives an address.
      void *const shown = reinterpret_cast<void *>(uintptr_t{service});  // NOLINT(performance-no-int-to-ptr)
      fprintf(stderr, "rom_call returned invalid entry point %p\n", shown);
      return nullptr;
    }
    return rom_at(ri, service);
  }
  return nullptr;
}

int do_rom_call(rominfo *ri, x86_reg_t *reg, const uint8_t *entry_point, int /*mode*/,
                std::span<const MemoryWindow> lent) {
  if (!may_use_ports()) {
    return -1;
  }
  Allowance allowance = {kServiceBudget};
  return call_within(ri, reg, entry_point, lent, allowance);
}

int rom_peek(const rominfo *ri, uint32_t addr, void *buffer, size_t size) {
  if (ri->rom == nullptr || !in_rom_area(addr) || size > kRomSize - (addr - kRomBase)) {
    return -1;
  }
  memcpy(buffer, rom_at(ri, addr), size);
  return 0;
}

void unlock_rom() {
  const Directory top(opendir(pci_proc_dir), closedir);
  if (top == nullptr) {
    fprintf(stderr, "ERROR: could not open %s to find bus data\n", pci_proc_dir);
    return;
  }
  while (const char *name = next_bus_name(top.get())) {
    if (unlock_on_bus(name)) {
      return;
    }
  }
}
