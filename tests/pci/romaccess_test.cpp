#include "pci/romaccess.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>

#include <gtest/gtest.h>

#include "tests/pci/pci_fakes.h"

// Refuses execution as a file system mounted noexec does. The linker's --wrap leads the calls of mmap here.
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

constexpr int kSkipAll = kSkipInt15 | kSkipEv | kSkipPciBios;
constexpr int kPciBiosOnly = kSkipInt15 | kSkipEv;

class RomAccess : public PciTreeTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(romcall_fini(&ri_), 0);
  }

  // romcall_init's messages. What was open is closed.
  std::string init(int skip, int result) {
    EXPECT_EQ(romcall_fini(&ri_), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(romcall_init(&ri_, skip), result);
    return testing::internal::GetCapturedStderr();
  }

  void open(const Image &image) {
    install(image);
    ASSERT_EQ(init(kSkipAll, 0), "");
  }

  const uint8_t *at(uint32_t address) const {
    return ri_.rom + (address - kRomBase);
  }

  rominfo ri_ = {};
};

constexpr uint32_t kCodeAt = 0xF0000;
constexpr uint32_t kTrapAt = 0xE0000;

// A directory that knows $PCI alone, and a PCI BIOS that knows the presence call alone, after headers to pass
// over.
Image services() {
  return Image()
      .put(kTrapAt, from_hex("E6 80 B0 00 C3"))  // out 0x80,al; mov al,0; ret
      .header(0xA0000, kTrapAt)
      .put(0xA0000, "_23_")
      .header(0xA0010, kTrapAt, 1, 0, 1)
      .header(0xA0020, kTrapAt, 1, 1)
      .header(0xA0030, kTrapAt, 0)
      .directory(0xA0040, from_hex("B0 80 CB"))  // knows nothing
      .directory(0xA0050,
                 from_hex("3D 24 50 43 49 B0 80 75 0C B0 00") +  // cmp eax,"$PCI"; mov al,0x80; jne; mov al,0
                     from_hex("BB 00 00 0F 00 BA 00 00 00 00 CB C3"))  // mov ebx; mov edx; retf; ret
      .put(kCodeAt, from_hex("66 3D 81 B1 74 04 B4 81 F9 C3") +  // cmp ax,0xB181; je; mov ah,0x81; stc; ret
                        from_hex("6A 30 07 30 E4 C3"));          // push 0x30; pop es; xor ah,ah; ret
}

TEST_F(RomAccess, FindsThePciBiosAfterDecoys) {
  install(services());
  EXPECT_EQ(init(kPciBiosOnly, 0), "");
  EXPECT_EQ(ri_.pci_bios_entry_point, at(kCodeAt));
  EXPECT_EQ(ri_.pci_es, 0x30);
  EXPECT_TRUE(fake_ports.writes.empty()) << "a decoy was called";
  x86_reg_t reg = {};
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2), -0x81);
  EXPECT_EQ(init(kSkipPciBios, 0), "");
  EXPECT_EQ(ri_.ev_entry_point, nullptr);
}

TEST_F(RomAccess, SkipBits) {
  install(Image().answer(0xF0000, 0x1234));
  for (const int skip : {kSkipInt15, kSkipEv, kSkipPciBios}) {
    EXPECT_EQ(init(skip, 0), "");
    EXPECT_EQ(ri_.int15_entry_point, skip == kSkipInt15 ? nullptr : at(0xFF859));
    EXPECT_EQ(ri_.ev_entry_point, skip == kSkipEv ? nullptr : at(0xF1234));
    EXPECT_EQ(ri_.pci_bios_entry_point, skip == kSkipPciBios ? nullptr : at(0xF1234));
    EXPECT_EQ(ri_.pci_es, 0);
  }
}

TEST_F(RomAccess, ForeignRomStaysMappedUntilFini) {
  install(Image().put(0xFFFEF, "?"));
  EXPECT_EQ(init(0, -1), "Not a Orv Stratum Server!\n");
  void *const mapped = const_cast<uint8_t *>(ri_.rom);
  ASSERT_NE(mapped, nullptr);
  EXPECT_EQ(romcall_fini(&ri_), 0);
  EXPECT_EQ(msync(mapped, kRomSize, MS_ASYNC), -1);
  EXPECT_TRUE(ri_.rom == nullptr && ri_.fd_mem == 0);
  EXPECT_EQ(romcall_fini(&ri_), 0);
  EXPECT_NE(fcntl(0, F_GETFD), -1) << "closing what is closed must not reach standard input";
}

TEST_F(RomAccess, WhatCannotBeHad) {
  const auto fails = [this](const char *message) {
    EXPECT_EQ(init(0, -1), message);
    EXPECT_TRUE(ri_.rom == nullptr && ri_.fd_mem == 0);
  };
  fails("opening /dev/mem: No such file or directory\n");
  fs::create_directory(mem_);
  fails("mmaping /dev/mem: No such device\n");
  fs::remove(mem_);
  install(services());
  fs::resize_file(mem_, 0xF0000);  // can be mapped; reading the mapping would raise SIGBUS
  fails("reading /dev/mem: No such device or address\n");
  mmap_refuses_execution = true;
  open(services());
  mmap_refuses_execution = false;
  fake_ports.privilege_errno = EPERM;
  EXPECT_EQ(init(kPciBiosOnly, 0),
            "iopl(3): Operation not permitted\n");  // once, though two directories are valid
  EXPECT_EQ(ri_.pci_bios_entry_point, nullptr);
}

constexpr PortWrite kUnlock = {0x20E1, 1, 0};

// The identity of a function, and its first two base addresses.
Registers identity(uint32_t vendor, uint32_t device, uint32_t bar0, uint32_t bar1) {
  return {{0, device << 16 | vendor}, {16, bar0}, {20, bar1}};
}

// Code that is busy until port 0xCFC reads other than 0. It writes AX there, and reads the delay port `reads`
// times, each of which costs 1,002.
std::string busy(uint32_t reads) {
  return from_hex("66 BA FC 0C 66 EF 50 B9") +
         little_endian(reads) +                 // mov dx,0xCFC; out dx,ax; push eax; mov ecx
         from_hex("E4 80 E2 FC EC 84 C0 58") +  // in al,0x80; loop; in al,dx; test al,al; pop eax
         from_hex("B4 00 75 03 B4 8A F9 C3");   // mov ah,0; jnz; mov ah,0x8A; stc; ret
}

TEST_F(RomAccess, BusyRomIsUnlockedOnceAndAskedOnceMore) {
  add_function("05/00.0", identity(0x7A79, 0x3301, 0x2001, 0));
  const struct {
    uint32_t reads;     // of the delay port in a call
    size_t free_after;  // so many writes, of which each call makes one
    int result;
    size_t before_unlock;  // calls, or 0 if there is no unlock
    size_t writes;
  } rows[] = {
      // Free before the unlock.
      {.reads = 1, .free_after = 500, .result = 0, .before_unlock = 0, .writes = 500},
      // Freed by the unlock.
      {.reads = 1, .free_after = 502, .result = 0, .before_unlock = 500, .writes = 502},
      // 150,000 instructions, or what costs as much.
      {.reads = 147, .free_after = SIZE_MAX, .result = -0x8A, .before_unlock = 500, .writes = 502},
      // Too slow for so many answers.
      {.reads = 1000, .free_after = SIZE_MAX, .result = -0x8A, .before_unlock = 75, .writes = 77},
      {.reads = 4000, .free_after = 20, .result = 0, .before_unlock = 19, .writes = 21},
      // Longer than a call may take.
      {.reads = 5000, .free_after = SIZE_MAX, .result = -1, .before_unlock = 0, .writes = 1},
  };
  for (const auto &[reads, free_after, result, before_unlock, writes] : rows) {
    SCOPED_TRACE(reads);
    open(Image().put(kCodeAt, busy(reads)));
    const size_t limit = free_after;
    const auto answer = [limit](uint16_t, unsigned) { return fake_ports.writes.size() >= limit ? 1u : 0; };
    fake_ports = {.answer = answer};
    EXPECT_EQ(pci_bios_present(&ri_, at(kCodeAt)), result);
    EXPECT_EQ(ri_.pci_es, result == 0 ? kDataSelector : 0);
    std::vector<PortWrite> expected(writes, {0xCFC, 2, 0xB181});  // each call has the same registers
    if (before_unlock > 0) {
      expected[before_unlock] = kUnlock;
    }
    EXPECT_EQ(fake_ports.writes, expected);
  }
}

TEST_F(RomAccess, SearchSpendsRetriesAndUnlockOnce) {
  add_function("05/00.0", identity(0x7A79, 0x3301, 0x2001, 0));
  install(Image().directory(0xB0000, busy(1)).directory(0xB8000, busy(1)).directory(0xC0000, busy(1)));
  fake_ports.answer = [](uint16_t, unsigned) { return 0; };
  EXPECT_EQ(init(kPciBiosOnly, 0), "");
  EXPECT_EQ(fake_ports.writes.size(), 501u + 1 + 2);
  EXPECT_EQ(fake_ports.writes[500], kUnlock);
}

TEST_F(RomAccess, UnlockDevice) {
  const struct {
    const char *text;
    Registers registers;
    std::vector<PortWrite> writes = {};
    size_t size = 64;
  } rows[] = {
      {"in the second register", identity(0x7A79, 0x3302, 0x2000, 0x3001), {{0x30E1, 1, 0}}},
      {"wider than a port number", identity(0x7A79, 0x3300, 0x1FF41, 0), {{0x0021, 1, 0}}},
      {"another device", identity(0x7A79, 0x3303, 0x2001, 0)},
      {"another vendor", identity(0x7A7A, 0x3300, 0x2001, 0)},
      {"a short file", identity(0x7A79, 0x3300, 0x2001, 0), {}, 63},
  };
  for (const auto &row : rows) {
    fake_ports = {};
    add_function("ff/1f.7", row.registers, row.size);
    unlock_rom();
    EXPECT_EQ(fake_ports.writes, row.writes) << row.text;
  }
  for (const char *name : {"01/00.0", "02/00.0", "02/00.1"}) {
    add_function(name, identity(0x7A79, 0x3300, 0x2001, 0));
  }
  unlock_rom();
  EXPECT_EQ(fake_ports.writes, std::vector{kUnlock}) << "one device is enough";
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
  endless.put(0xB8000, from_hex("EB FE"));
  const struct {
    const char *text;
    Image image;
    uint32_t found = 0;  // no service
    const char *message = "";
  } rows[] = {
      {"at the lower end", Image().answer(0xA0000, 0, 0xA0000), 0xA0000},
      {"at the upper end", Image().answer(0xFFFFF, 0), 0xFFFFF},
      {"above", Image().answer(0xF0000, 0x10000), 0, "rom_call returned invalid entry point 0x100000\n"},
      {"below", Image().answer(0x9FFFF, 0), 0, "rom_call returned invalid entry point 0x9ffff\n"},
      {"base and offset that wrap", Image().answer(0xFFFFFFFF, 0xF0001), 0xF0000},
      {"entry above, then a service", Image().header(0xB0000, 0x100000).answer(0xF0000, 0)},
      {"entry below", Image().header(0xB0000, 0x9FFFF).answer(0xF0000, 0)},
      {"endless, then a service", Image().directory(0xB0000, from_hex("EB FE")).answer(0xF0000, 0), 0xF0000},
      {"endless, everywhere", endless},
      {"ports that are not allowed, then a service",
       Image().directory(0xB0000, from_hex("E4 B2")).directory(0xB8000, from_hex("E7 92")).answer(0xF0000, 0),
       0xF0000, "orvlog: The system ROM asked for I/O port 0xB2, which is not allowed.\n"},
      {"next to one that knows nothing", Image().directory(0xBFFF0, from_hex("B0 80 CB")).answer(0xF0000, 0),
       0xF0000},
      {"a header of 32 bytes",
       Image().answer(0xF0000, 0).header(0xC0000, 0xC0100, 2).put(0xC0010, from_hex("FF 01")), 0xF0000},
      {"whose second half spoils the sum",
       Image().answer(0xF0000, 0).header(0xC0000, 0xC0100, 2).put(0xC001F, from_hex("FF"))},
      {"that runs past the ROM", Image().header(0xFFFF0, 0xB0000, 2)},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.text);
    open(row.image);
    testing::internal::CaptureStderr();
    const uint8_t *found = find_call(&ri_, "$PCI", kCallBudget + 100'000);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.message);
    EXPECT_EQ(found, row.found == 0 ? nullptr : at(row.found));
  }
}

TEST_F(RomAccess, CallsThatFail) {
  open(Image()
           .put(kCodeAt, from_hex("B4 01 F8 C3"))          // mov ah,1; clc; ret
           .put(0xB0000, from_hex("B8 01 00 00 00 F4")));  // mov eax,1; hlt
  EXPECT_EQ(pci_bios_present(&ri_, at(kCodeAt)), 1);
  EXPECT_EQ(ri_.pci_es, 0) << "an error gives no selector";
  x86_reg_t reg = {};
  reg.u1.s1.reax = 0x8A55;
  for (const uint8_t *const entry :
       {at(0xB0000), ri_.rom + kRomSize, ri_.rom - 1, static_cast<const uint8_t *>(nullptr)}) {
    EXPECT_EQ(do_rom_call(&ri_, &reg, entry, 2), -1);
    EXPECT_EQ(reg.u1.s1.reax, 0x8A55u);
  }
}

TEST_F(RomAccess, Peek) {
  char buffer[] = "?????";
  EXPECT_EQ(rom_peek(&ri_, 0xFFFFD, buffer, 3), -1);  // nothing is mapped
  open(Image().put(0xA0000, "first").put(0xFFFFD, "end"));
  EXPECT_EQ(rom_peek(&ri_, 0xFFFFD, buffer, 4), -1);
  EXPECT_EQ(rom_peek(&ri_, 0xA0001, buffer, SIZE_MAX), -1);
  EXPECT_EQ(rom_peek(&ri_, 0x9FFFF, buffer, 1), -1);
  EXPECT_EQ(rom_peek(&ri_, 0x100000, buffer, 0), -1);
  EXPECT_STREQ(buffer, "?????");
  EXPECT_EQ(rom_peek(&ri_, 0xA0000, buffer, 5), 0);
  EXPECT_STREQ(buffer, "first");
  EXPECT_EQ(rom_peek(&ri_, 0xFFFFD, buffer, 3), 0);
  EXPECT_STREQ(buffer, "endst");
}

}  // namespace
