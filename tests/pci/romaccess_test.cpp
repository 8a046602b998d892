#include "pci/romaccess.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <numeric>
#include <string>
#include <sys/mman.h>

#include <gtest/gtest.h>

#include "pci/paths.h"
#include "tests/pci/fake_portio.h"
#include "tests/pci/pci_tree.h"

// As where the node's file system forbids execution. The linker puts it between mmap and its callers.
static bool mmap_refuses_execution;
extern "C" void *__real_mmap(void *, size_t, int, int, int, off_t);
extern "C" void *__wrap_mmap(void *address, size_t size, int protection, int flags, int fd, off_t offset) {
  if (mmap_refuses_execution && (protection & PROT_EXEC) != 0) {
    errno = EPERM;
    return MAP_FAILED;
  }
  return __real_mmap(address, size, protection, flags, fd, offset);
}

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Writes = std::vector<fake_portio::Write>;

constexpr int kSkipAll = kSkipInt15 | kSkipEv | kSkipPciBios;
constexpr int kPciBiosOnly = kSkipInt15 | kSkipEv;

class RomAccess : public PciTreeTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(romcall_fini(&ri_), 0);
  }

  // What romcall_init writes to standard error.
  std::string init(int skip, int result) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(romcall_init(&ri_, skip), result);
    return testing::internal::GetCapturedStderr();
  }

  // Calls the PCI BIOS's `function` with *reg.
  int pci_bios(uint16_t function, x86_reg_t *reg) {
    reg->u1.s2.rax = function;
    return do_rom_call(&ri_, reg, ri_.pci_bios_entry_point, 2);
  }

  rominfo ri_ = {};
};

std::string little_endian(uint32_t value) {
  return {reinterpret_cast<const char *>(&value), sizeof(value)};
}

// A ROM image with code and directory headers put where a test wants them.
struct Image {
  std::string bytes = std::string(kRomSize, '\0');

  Image() {
    put(0xFFFEA, "VELDRA");
  }

  Image &put(uint32_t address, const std::string &code) {
    bytes.replace(address - kRomBase, code.size(), code);
    return *this;
  }

  Image &header(uint32_t address, uint32_t entry, uint8_t length = 1) {
    std::string header = "_32_" + little_endian(entry) + '\0' + static_cast<char>(length);
    header += static_cast<char>(-std::accumulate(header.begin(), header.end(), 0));
    return put(address, header);
  }

  // A directory whose code, 256 bytes behind its header, is `code`,
  Image &directory(uint32_t address, const std::string &code) {
    return put(address + 0x100, code).header(address, address + 0x100);
  }

  // or answers AL 0, EBX `base` and EDX `offset`.
  Image &answer(uint32_t base, uint32_t offset, uint32_t address = 0xC0000) {
    return directory(address, "\xB0\0\xBB"s + little_endian(base) + "\xBA" + little_endian(offset) + "\xCB");
  }
};

TEST_F(RomAccess, FindsThePciBiosBehindDecoys) {
  InstallRom("services.rom");
  EXPECT_EQ(init(kPciBiosOnly, 0), "");
  EXPECT_EQ(ri_.int15_entry_point, nullptr);
  EXPECT_EQ(ri_.ev_entry_point, nullptr);
  ASSERT_NE(ri_.pci_bios_entry_point, nullptr);
  EXPECT_EQ(ri_.pci_es, 0x30);
  EXPECT_EQ(fake_portio::writes, Writes{}) << "a decoy was called";
  x86_reg_t reg = {};
  EXPECT_EQ(pci_bios(0xB1FF, &reg), -0x81);
}

TEST_F(RomAccess, SkipBits) {
  Install(Image().answer(0xF0000, 0x1234).bytes);
  for (const int skip : {kSkipInt15, kSkipEv, kSkipPciBios}) {
    SCOPED_TRACE(skip);
    EXPECT_EQ(init(skip, 0), "");
    EXPECT_EQ(ri_.int15_entry_point, skip == kSkipInt15 ? nullptr : ri_.rom + (0xFF859 - kRomBase));
    EXPECT_EQ(ri_.ev_entry_point, skip == kSkipEv ? nullptr : ri_.rom + (0xF1234 - kRomBase));
    EXPECT_EQ(ri_.pci_bios_entry_point, skip == kSkipPciBios ? nullptr : ri_.rom + (0xF1234 - kRomBase));
    EXPECT_EQ(ri_.pci_es, 0);
    EXPECT_EQ(romcall_fini(&ri_), 0);
  }
  InstallRom("services.rom");  // whose directory knows the PCI BIOS only
  EXPECT_EQ(init(kSkipPciBios, 0), "");
  EXPECT_EQ(ri_.ev_entry_point, nullptr);
}

TEST_F(RomAccess, ForeignRomStaysMappedUntilFini) {
  Install(Image().put(0xFFFEF, "?").bytes);
  EXPECT_EQ(init(0, -1), "Not a Orv Stratum Server!\n");
  void *const mapped = const_cast<uint8_t *>(ri_.rom);
  ASSERT_NE(mapped, nullptr);
  EXPECT_EQ(romcall_fini(&ri_), 0);
  EXPECT_EQ(msync(mapped, kRomSize, MS_ASYNC), -1);
  EXPECT_EQ(ri_.rom, nullptr);
  EXPECT_EQ(ri_.fd_mem, 0);
  EXPECT_EQ(romcall_fini(&ri_), 0);
  EXPECT_NE(fcntl(0, F_GETFD), -1) << "closing what is closed must not reach standard input";
}

TEST_F(RomAccess, WhatCannotBeHad) {
  EXPECT_EQ(init(0, -1), "opening /dev/mem: No such file or directory\n");
  fs::create_directory(mem_);
  EXPECT_EQ(init(0, -1), "mmaping /dev/mem: No such device\n");
  EXPECT_EQ(ri_.fd_mem, 0);
  EXPECT_EQ(ri_.rom, nullptr);
  fs::remove(mem_);
  Install(Image().bytes);
  fs::resize_file(mem_, 0xF0000);  // can be mapped; reading the mapping would raise SIGBUS
  EXPECT_EQ(init(0, -1), "reading /dev/mem: No such device or address\n");
  EXPECT_EQ(ri_.fd_mem, 0);
  EXPECT_EQ(ri_.rom, nullptr);
  InstallRom("services.rom");
  mmap_refuses_execution = true;
  EXPECT_EQ(init(kSkipAll, 0), "");
  EXPECT_EQ(romcall_fini(&ri_), 0);
  mmap_refuses_execution = false;
  fake_portio::privilege_errno = EPERM;
  // Once, though there are two directories.
  EXPECT_EQ(init(kPciBiosOnly, 0), "iopl(3): Operation not permitted\n");
  EXPECT_EQ(ri_.pci_bios_entry_point, nullptr);
}

constexpr fake_portio::Write kUnlock = {0x20E1, 1, 0};

// Bytes of a configuration space: the identity, and the first two base addresses.
Bytes identity(uint32_t vendor, uint32_t device, uint32_t bar0, uint32_t bar1) {
  Bytes bytes = {{0, vendor & 0xFF}, {1, vendor >> 8}, {2, device & 0xFF}, {3, device >> 8}};
  for (size_t i = 0; i < 4; ++i) {
    bytes.insert(bytes.end(), {{16 + i, bar0 >> 8 * i & 0xFF}, {20 + i, bar1 >> 8 * i & 0xFF}});
  }
  return bytes;
}

// Code that is busy until port 0xCFC reads other than 0. It writes AX there, and reads the delay port `reads`
// times, each of which costs 1,002.
std::string busy(uint32_t reads = 1) {
  return "\x66\xBA\xFC\x0C\x66\xEF\x50\xB9"s +
         little_endian(reads) +                             // mov dx,0xCFC; out dx,ax; push eax; mov ecx
         "\xE4\x80\xE2\xFC\xEC\x84\xC0\x58\xB4\0\x75\3"s +  // in al,0x80; loop; in al,dx; test; pop; mov ah,0
         "\xB4\x8A\xF9\xC3";                                // jnz; mov ah,0x8A; stc; ret
}

constexpr uint32_t kBusyAt = 0xF0000;

TEST_F(RomAccess, BusyRomIsUnlockedOnceAndAskedOnceMore) {
  AddFunction("05/00.0", identity(0x7A79, 0x3301, 0x2001, 0));
  const struct {
    uint32_t reads;
    size_t free_after;  // this many writes, of which each call makes one
    int result;
    size_t calls_before_unlock;
    uint16_t es;
  } rows[] = {
      {1, 500, 0, 0, kDataSelector},    // free before the unlock: the ES that the call was started with
      {1, 502, 0, 500, kDataSelector},  // freed by it
      {1, SIZE_MAX, -0x8A, 500, 0},
      {147, SIZE_MAX, -0x8A, 500, 0},  // 150,000 instructions, or what costs as much
      {1000, SIZE_MAX, -0x8A, 75, 0},  // too slow for so many answers
      {4000, 20, 0, 19, kDataSelector},
      {5000, SIZE_MAX, -1, 0, 0},  // longer than a call may take
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(std::to_string(row.reads) + " " + std::to_string(row.result));
    Install(Image().put(kBusyAt, busy(row.reads)).bytes);
    ASSERT_EQ(init(kSkipAll, 0), "");
    fake_portio::reset();
    fake_portio::answer = [&](uint16_t, unsigned) {
      return uint32_t{fake_portio::writes.size() >= row.free_after};
    };
    EXPECT_EQ(pci_bios_present(&ri_, ri_.rom + (kBusyAt - kRomBase)), row.result);
    EXPECT_EQ(ri_.pci_es, row.es);
    const Writes &writes = fake_portio::writes;
    const size_t unlocked_at = row.calls_before_unlock;
    ASSERT_EQ(writes.size(), unlocked_at > 0 ? unlocked_at + 2 : row.result == 0 ? row.free_after : 1);
    EXPECT_EQ(std::count(writes.begin(), writes.end(), kUnlock), unlocked_at > 0);
    EXPECT_EQ(writes[unlocked_at] == kUnlock, unlocked_at > 0);
    EXPECT_EQ(writes.back(), (fake_portio::Write{0xCFC, 2, 0xB181})) << "each call has the same registers";
    EXPECT_EQ(romcall_fini(&ri_), 0);
  }
}

TEST_F(RomAccess, SearchSpendsRetriesAndUnlockOnce) {
  AddFunction("05/00.0", identity(0x7A79, 0x3301, 0x2001, 0));
  Image image;
  for (const uint32_t at : {0xB0000u, 0xB8000u, 0xC0000u}) {
    image.directory(at, busy());
  }
  Install(image.bytes);
  fake_portio::answer = [](uint16_t, unsigned) { return 0; };
  EXPECT_EQ(init(kPciBiosOnly, 0), "");
  EXPECT_EQ(fake_portio::writes.size(), 501u + 1 + 2);
  EXPECT_EQ(fake_portio::writes[500], kUnlock);
}

TEST_F(RomAccess, PresenceCallWithAnErrorGivesNoSelector) {
  for (const char ah : {'\0', '\1'}) {
    Install(Image().put(kBusyAt, "\x31\xC0\xB4"s + ah + "\xC3").bytes);  // xor eax,eax; mov ah,?; ret
    ASSERT_EQ(init(kSkipAll, 0), "");
    EXPECT_EQ(pci_bios_present(&ri_, ri_.rom + (kBusyAt - kRomBase)), ah);
    EXPECT_EQ(ri_.pci_es, ah == 0 ? kDataSelector : 0);
    EXPECT_EQ(romcall_fini(&ri_), 0);
  }
}

TEST_F(RomAccess, UnlockDevice) {
  const struct {
    const char *text, *name;
    int port;  // -1: nothing is written
    uint32_t device;
    uint32_t bar0, bar1;
    size_t size = 64;
    uint32_t vendor = 0x7A79;
  } rows[] = {
      {"I/O in the first register", "05/00.0", 0x20E1, 0x3300, 0x2001, 0x3001},
      {"I/O in the second register", "05/1f.7", 0x30E1, 0x3302, 0x2000, 0x3001},
      {"whatever the second register is", "ff/00.0", 0xE1, 0x3301, 0, 0},
      {"wider than a port number", "05/00.0", 0x0021, 0x3300, 0x1FF41, 0},
      {"another device", "05/00.0", -1, 0x3303, 0x2001, 0},
      {"another vendor", "05/00.0", -1, 0x3300, 0x2001, 0, 64, 0x7A7A},
      {"a short file", "05/00.0", -1, 0x3300, 0x2001, 0, 63},
      {"a short name", "05/0.0", -1, 0x3300, 0x2001, 0},
      {"not a bus", "0000:05/00.0", -1, 0x3300, 0x2001, 0},
  };
  for (const auto &row : rows) {
    fake_portio::reset();
    AddFunction(row.name, identity(row.vendor, row.device, row.bar0, row.bar1), row.size);
    unlock_rom();
    const fake_portio::Write write = {static_cast<uint16_t>(row.port), 1, 0};
    EXPECT_EQ(fake_portio::writes, row.port < 0 ? Writes{} : Writes{write}) << row.text;
    fs::remove_all(buses_);
  }
  fake_portio::reset();
  for (const char *name : {"01/00.0", "02/00.0", "02/00.1"}) {
    AddFunction(name, identity(0x7A79, 0x3300, 0x2001, 0));
  }
  unlock_rom();
  EXPECT_EQ(fake_portio::writes, Writes{kUnlock}) << "one device is enough";

  pci_proc_dir = "/nonexistent/pci";
  testing::internal::CaptureStderr();
  unlock_rom();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ERROR: could not open /nonexistent/pci to find bus data\n");
}

TEST_F(RomAccess, HostileDirectories) {
  Image endless;  // all of them share one budget
  for (uint32_t at = 0xA0000; at < 0xB8000; at += 16) {
    endless.header(at, 0xB8000);
  }
  endless.put(0xB8000, "\xEB\xFE");
  const struct {
    const char *text;
    Image image;
    uint32_t found = 0;  // no service
    const char *message = "";
  } rows[] = {
      {"none", Image()},
      {"a service", Image().answer(0xF0000, 0x1234), 0xF1234},
      {"at the lower end", Image().answer(0xA0000, 0, 0xA0000), 0xA0000},
      {"at the upper end", Image().answer(0xFFFFF, 0), 0xFFFFF},
      {"above", Image().answer(0xF0000, 0x10000), 0, "rom_call returned invalid entry point 0x100000\n"},
      {"below", Image().answer(0x9FFFF, 0), 0, "rom_call returned invalid entry point 0x9ffff\n"},
      {"base and offset that wrap", Image().answer(0xFFFFFFFF, 0xF0001), 0xF0000},
      {"entry above, then a service", Image().header(0xB0000, 0x100000).answer(0xF0000, 0)},
      {"entry below", Image().header(0xB0000, 0x9FFFF).answer(0xF0000, 0)},
      {"HLT, then a service", Image().directory(0xB0000, "\xF4").answer(0xF0000, 0), 0xF0000},
      {"endless, then a service", Image().directory(0xB0000, "\xEB\xFE").answer(0xF0000, 0), 0xF0000},
      {"endless, everywhere", endless},
      {"ports that are not allowed, then a service",
       Image().directory(0xB0000, "\xE4\xB2").directory(0xB8000, "\xE7\x92").answer(0xF0000, 0), 0xF0000,
       "orvlog: The system ROM asked for I/O port 0xB2, which is not allowed.\n"},
      {"next to one that knows nothing", Image().directory(0xBFFF0, "\xB0\x80\xCB").answer(0xF0000, 0),
       0xF0000},
      {"a header of 32 bytes",
       Image().answer(0xF0000, 0).header(0xC0000, 0xC0100, 2).put(0xC0010, "\xFF\x01"), 0xF0000},
      {"whose second half spoils the sum",
       Image().answer(0xF0000, 0).header(0xC0000, 0xC0100, 2).put(0xC001F, "\xFF")},
      {"that runs past the ROM", Image().header(0xFFFF0, 0xB0000, 2)},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.text);
    Install(row.image.bytes);
    ASSERT_EQ(init(kSkipAll, 0), "");
    testing::internal::CaptureStderr();
    const uint8_t *found = find_call(&ri_, "$PCI", kCallBudget + 100'000);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.message);
    EXPECT_EQ(found, row.found == 0 ? nullptr : ri_.rom + (row.found - kRomBase));
    EXPECT_EQ(romcall_fini(&ri_), 0);
  }
}

// A real BIOS, as the machine's firmware would leave it: it completes the directory's header when it starts.
TEST_F(RomAccess, SeaBios) {
  std::ifstream file("/usr/share/seabios/bios.bin", std::ios::binary);
  if (!file) {
    GTEST_SKIP() << "SeaBIOS is not installed";
  }
  const std::string bios{std::istreambuf_iterator<char>(file), {}};
  const uint32_t base = 0x100000 - static_cast<uint32_t>(bios.size());
  const size_t header = bios.find("_32_");
  const size_t entry = bios.find("\x9C\x3D$PCI");  // pushf; cmp eax, "$PCI"
  ASSERT_TRUE(header != bios.npos && entry != bios.npos);
  Image image;
  image.put(base, bios).put(0xFFFEA, "VELDRA");
  image.header(base + static_cast<uint32_t>(header), base + static_cast<uint32_t>(entry));
  Install(image.bytes);
  EXPECT_EQ(init(kPciBiosOnly, 0), "");
  ASSERT_NE(ri_.pci_bios_entry_point, nullptr);
  fake_portio::answer = [](uint16_t port, unsigned) { return port == 0xCFC ? 0x12345678u : 0; };
  x86_reg_t reg = {};
  EXPECT_EQ(pci_bios(0xB101, &reg), 0);    // PCI BIOS present?
  EXPECT_EQ(reg.u4.s1.redx, 0x20494350u);  // "PCI "
  reg = {};
  reg.u2.s2.rbx = 0x0510;
  reg.redi = 0x40;
  EXPECT_EQ(pci_bios(0xB10A, &reg), 0);  // read a double word of configuration space
  EXPECT_EQ(fake_portio::writes, (Writes{{0xCF8, 4, 0x80051040}}));
  EXPECT_EQ(reg.u3.s1.recx, 0x12345678u);
  reg = {};
  EXPECT_EQ(pci_bios(0xB10E, &reg), -0x81);  // get routing options: the firmware has not set up its table
  EXPECT_EQ(pci_bios(0xB102, &reg), -0x86);  // find a device, over all buses
}

TEST_F(RomAccess, FailedCallLeavesTheRegisters) {
  Install(Image().put(0xB0000, "\xB8\1\0\0\0\xF4"s).bytes);  // mov eax,1; hlt
  ASSERT_EQ(init(kSkipAll, 0), "");
  x86_reg_t reg = {};
  reg.u1.s1.reax = 0x8A55;
  const uint8_t *const entries[] = {ri_.rom + 0x10000, ri_.rom + kRomSize, ri_.rom - 1, nullptr};
  for (const uint8_t *entry : entries) {
    EXPECT_EQ(do_rom_call(&ri_, &reg, entry, 2), -1);
    EXPECT_EQ(reg.u1.s1.reax, 0x8A55u);
  }
}

TEST_F(RomAccess, Peek) {
  char buffer[8] = {};
  EXPECT_EQ(rom_peek(&ri_, 0xFFFEA, buffer, 6), -1);  // nothing is mapped
  Install(Image().put(0xA0000, "first").bytes);
  ASSERT_EQ(init(kSkipAll, 0), "");
  const struct {
    uint32_t address;
    size_t size;
    int result;
    const char *after;
  } rows[] = {{0xFFFEA, 6, 0, "VELDRA"},  {0xA0000, 5, 0, "firstA"},
              {0xFFFFF, 2, -1, "firstA"}, {0xA0000, SIZE_MAX, -1, "firstA"},
              {0x9FFFF, 1, -1, "firstA"}, {0x100000, 1, -1, "firstA"},
              {0xFFFFF, 1, 0, ""}};
  for (const auto &row : rows) {
    EXPECT_EQ(rom_peek(&ri_, row.address, buffer, row.size), row.result) << row.address;
    EXPECT_STREQ(buffer, row.after);
  }
}

}  // namespace
