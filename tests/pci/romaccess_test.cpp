#include "pci/romaccess.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "pci/paths.h"
#include "pci/pci_config_header.h"
#include "tests/pci/fake_portio.h"

namespace {

namespace fs = std::filesystem;

constexpr uint16_t kUnlockVendor = 0x7A79;

std::vector<char> read_file(const fs::path &path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

// A temporary folder that serves as physical memory and as the kernel's PCI tree.
class RomAccess : public testing::Test {
 protected:
  void SetUp() override {
    fake_portio::reset();
    char name[] = "/tmp/romaccess_XXXXXX";
    folder_ = mkdtemp(name);
    mem_ = folder_ / "mem";
    tree_ = folder_ / "pci";
    fs::create_directory(tree_);
    physical_mem_path = mem_.c_str();
    pci_proc_dir = tree_.c_str();
  }

  void TearDown() override {
    EXPECT_EQ(romcall_fini(&ri_), 0);
    physical_mem_path = "/dev/mem";
    pci_proc_dir = "/proc/bus/pci";
    fs::remove_all(folder_);
  }

  // Puts `image` at the end of an otherwise empty first megabyte.
  void install(const std::vector<char> &image) {
    std::vector<char> memory(0x100000, 0);
    std::copy(image.rbegin(), image.rend(), memory.rbegin());
    std::ofstream(mem_, std::ios::binary).write(memory.data(), static_cast<std::streamsize>(memory.size()));
  }

  void install_rom(const char *name) {
    install(read_file(fs::path(ROM_DIR) / name));
  }

  void add_function(const char *bus, const char *name, uint16_t device, uint32_t bar0, uint32_t bar1,
                    size_t size = sizeof(PCIConfigHeader), uint16_t vendor = kUnlockVendor) {
    PCIConfigHeader header = {};
    header.VendorID = vendor;
    header.DeviceID = device;
    header.Type.Zero.BaseAddressReg[0] = bar0;
    header.Type.Zero.BaseAddressReg[1] = bar1;
    char raw[sizeof(header)];
    std::memcpy(raw, &header, sizeof(raw));
    fs::create_directory(tree_ / bus);
    std::ofstream(tree_ / bus / name, std::ios::binary).write(raw, static_cast<std::streamsize>(size));
  }

  // What romcall_init, asked for everything it finds but the skipped, writes to standard error.
  std::string init_messages(int skip, int result) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(romcall_init(&ri_, skip), result);
    return testing::internal::GetCapturedStderr();
  }

  fs::path folder_, mem_, tree_;
  rominfo ri_ = {};
};

// A ROM image with code and directory headers put where a test wants them.
class Image {
 public:
  Image() : bytes_(kRomSize, 0) {
    put(0xFFFEA, "VELDRA", 6);
  }

  Image &put(uint32_t address, const char *code, size_t size) {
    std::memcpy(bytes_.data() + (address - kRomBase), code, size);
    return *this;
  }

  Image &directory(uint32_t address, uint32_t entry, uint8_t length = 1) {
    bios_t header = {};
    std::memcpy(header.fields.signature, "_32_", 4);
    header.fields.entry = entry;
    header.fields.length = length;
    uint8_t sum = 0;
    for (const char byte : header.chars) {
      sum = static_cast<uint8_t>(sum + static_cast<uint8_t>(byte));
    }
    header.fields.checksum = static_cast<uint8_t>(0 - sum);
    return put(address, header.chars, sizeof(header));
  }

  // A directory whose code answers AL 0, EBX `base` and EDX `offset`.
  Image &answering(uint32_t address, uint32_t base, uint32_t offset) {
    const uint32_t code = address + 0x100;
    put(code, "\xB0\x00\xBB....\xBA....\xCB", 13);
    put(code + 3, reinterpret_cast<const char *>(&base), 4);
    put(code + 8, reinterpret_cast<const char *>(&offset), 4);
    return directory(address, code);
  }

  const std::vector<char> &bytes() const {
    return bytes_;
  }

 private:
  std::vector<char> bytes_;
};

TEST_F(RomAccess, FindsThePciBiosBehindDecoys) {
  install_rom("services.rom");
  EXPECT_EQ(init_messages(kSkipInt15 | kSkipEv, 0), "");
  EXPECT_EQ(ri_.int15_entry_point, nullptr);
  EXPECT_EQ(ri_.ev_entry_point, nullptr);
  ASSERT_NE(ri_.pci_bios_entry_point, nullptr);
  EXPECT_EQ(ri_.pci_es, 0x30);
  EXPECT_TRUE(fake_portio::writes.empty()) << "a decoy was called";

  // get_routing fills the caller's buffers and reads the chipset.
  fake_portio::answer = [](uint16_t port, unsigned size) {
    return port == 0xCFC && size == 2 ? 0x0C00u : 0u;
  };
  struct __attribute__((packed)) {
    uint16_t size;
    uint32_t data;
    uint16_t selector;
  } info = {1024, kLentBase + 0x1000, ri_.pci_es};
  uint8_t table[1024] = {};
  const MemoryWindow lent[] = {{kLentBase, &info, sizeof(info), true},
                               {kLentBase + 0x1000, table, sizeof(table), true}};
  x86_reg_t reg = {};
  reg.u1.s2.rax = 0xB18E;
  reg.redi = kLentBase;
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2, lent), 0);
  EXPECT_EQ(info.size, 32);
  EXPECT_EQ(table[1], 0xF8);
  EXPECT_EQ(table[30], 3);
  EXPECT_EQ(table[32], 0);
  EXPECT_EQ(reg.u2.s2.rbx, 0x0C00);
  EXPECT_EQ(reg.redi, kLentBase);
  const std::vector<fake_portio::Write> writes = {{0xCF8, 4, 0x80000060}};
  EXPECT_EQ(fake_portio::writes, writes);

  info.size = 31;
  reg.u1.s2.rax = 0xB18E;
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2, lent), -0x89);
  reg.u1.s2.rax = 0xB1FF;
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2), -0x81);
}

TEST_F(RomAccess, SkipBits) {
  install_rom("services.rom");
  EXPECT_EQ(init_messages(kSkipPciBios, 0), "");
  ASSERT_NE(ri_.int15_entry_point, nullptr);
  EXPECT_EQ(ri_.int15_entry_point - ri_.rom, 0xFF859 - 0xA0000);
  EXPECT_EQ(ri_.ev_entry_point, nullptr);  // no directory knows it
  EXPECT_EQ(ri_.pci_bios_entry_point, nullptr);
  EXPECT_EQ(ri_.pci_es, 0);
}

TEST_F(RomAccess, ForeignRomStaysMappedUntilFini) {
  install(Image().put(0xFFFEF, "?", 1).bytes());
  EXPECT_EQ(init_messages(0, -1), "Not a Orv Stratum Server!\n");
  void *const mapped = const_cast<uint8_t *>(ri_.rom);
  const int fd = ri_.fd_mem;
  ASSERT_NE(mapped, nullptr);
  EXPECT_NE(fcntl(fd, F_GETFD), -1);
  EXPECT_EQ(romcall_fini(&ri_), 0);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_EQ(msync(mapped, kRomSize, MS_ASYNC), -1);
  EXPECT_EQ(ri_.rom, nullptr);
  EXPECT_EQ(ri_.fd_mem, 0);
  EXPECT_EQ(romcall_fini(&ri_), 0);
  EXPECT_NE(fcntl(0, F_GETFD), -1) << "closing what is closed must not reach standard input";
}

TEST_F(RomAccess, MemoryThatCannotBeHad) {
  EXPECT_EQ(init_messages(3, -1), "opening /dev/mem: No such file or directory\n");
  fs::create_directory(mem_);
  EXPECT_EQ(init_messages(3, -1), "mmaping /dev/mem: No such device\n");
  EXPECT_EQ(ri_.fd_mem, 0);
  EXPECT_EQ(ri_.rom, nullptr);
}

TEST_F(RomAccess, PrivilegeThatCannotBeHad) {
  install_rom("services.rom");
  fake_portio::privilege_errno = EPERM;
  // Once for each of the two directories that are valid.
  EXPECT_EQ(init_messages(3, 0), "iopl(3): Operation not permitted\niopl(3): Operation not permitted\n");
  EXPECT_EQ(ri_.pci_bios_entry_point, nullptr);
}

constexpr fake_portio::Write kUnlock = {0x20E1, 1, 0};

TEST_F(RomAccess, BusyRomIsUnlockedOnceAndAskedOnceMore) {
  install_rom("busy.rom");
  add_function("05", "00.0", 0x3301, 0x2001, 0);
  fake_portio::answer = [](uint16_t, unsigned) { return 0u; };
  ASSERT_EQ(romcall_init(&ri_, kSkipInt15 | kSkipEv | kSkipPciBios), 0);
  const uint8_t *entry = find_call(&ri_, "$PCI");
  ASSERT_NE(entry, nullptr);
  x86_reg_t reg = {};
  reg.u1.s2.rax = 0xB181;
  EXPECT_EQ(do_rom_call(&ri_, &reg, entry, 2), -0x8A);
  EXPECT_EQ(reg.u1.s3.rah, 0x8A);
  const std::vector<fake_portio::Write> writes = fake_portio::writes;
  ASSERT_EQ(writes.size(), 502u);
  EXPECT_EQ(writes[500], kUnlock);
  EXPECT_EQ(std::count(writes.begin(), writes.end(), kUnlock), 1);
  EXPECT_EQ(std::count(writes.begin(), writes.end(), fake_portio::Write{0x80, 1, 0x81}), 501);

  // A ROM that the unlock frees answers the 501st call; the presence call then reports the ES it was started
  // with.
  fake_portio::writes.clear();
  fake_portio::answer = [](uint16_t, unsigned) { return uint32_t{fake_portio::writes.size() > 501}; };
  EXPECT_EQ(pci_bios_present(&ri_, entry), 0);
  EXPECT_EQ(fake_portio::writes.size(), 502u);
  EXPECT_EQ(ri_.pci_es, kDataSelector);

  // One that becomes free before is left locked, and one that stays busy loses its selector.
  fake_portio::writes.clear();
  fake_portio::answer = [](uint16_t, unsigned) { return uint32_t{fake_portio::writes.size() >= 500}; };
  EXPECT_EQ(pci_bios_present(&ri_, entry), 0);
  EXPECT_EQ(fake_portio::writes.size(), 500u);
  fake_portio::answer = [](uint16_t, unsigned) { return 0u; };
  EXPECT_EQ(pci_bios_present(&ri_, entry), -0x8A);
  EXPECT_EQ(ri_.pci_es, 0);
}

TEST_F(RomAccess, UnlockDevice) {
  struct Row {
    const char *text, *bus, *name;
    uint16_t device;
    uint32_t bar0, bar1;
    size_t size;
    int port;  // -1: nothing is written
  };
  for (const Row &row : {
           Row{"I/O in the first register", "05", "00.0", 0x3300, 0x2001, 0x3001, 64, 0x20E1},
           Row{"I/O in the second register", "05", "1f.7", 0x3302, 0x2000, 0x3001, 64, 0x30E1},
           Row{"whatever the second register is", "ff", "00.0", 0x3301, 0, 0, 64, 0xE1},
           Row{"wider than a port number", "05", "00.0", 0x3300, 0x1FF41, 0, 64, 0x0021},
           Row{"another device", "05", "00.0", 0x3303, 0x2001, 0, 64, -1},
           Row{"a short file", "05", "00.0", 0x3300, 0x2001, 0, 63, -1},
           Row{"a short name", "05", "0.0", 0x3300, 0x2001, 0, 64, -1},
           Row{"not a bus", "0000:05", "00.0", 0x3300, 0x2001, 0, 64, -1},
       }) {
    SCOPED_TRACE(row.text);
    fake_portio::reset();
    add_function(row.bus, row.name, row.device, row.bar0, row.bar1, row.size);
    unlock_rom();
    EXPECT_EQ(fake_portio::writes.size(), row.port < 0 ? 0u : 1u);
    if (!fake_portio::writes.empty()) {
      EXPECT_EQ(fake_portio::writes[0], (fake_portio::Write{static_cast<uint16_t>(row.port), 1, 0}));
    }
    fs::remove_all(tree_ / row.bus);
  }
  fake_portio::reset();
  add_function("00", "00.0", 0x3300, 0x2001, 0, 64, kUnlockVendor + 1);
  unlock_rom();
  EXPECT_TRUE(fake_portio::writes.empty());
  add_function("01", "00.0", 0x3300, 0x2001, 0);
  add_function("02", "00.0", 0x3300, 0x2001, 0);
  unlock_rom();
  EXPECT_EQ(fake_portio::writes, std::vector{kUnlock}) << "one device is enough";

  pci_proc_dir = "/nonexistent/pci";
  testing::internal::CaptureStderr();
  unlock_rom();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ERROR: could not open /nonexistent/pci to find bus data\n");
}

TEST_F(RomAccess, HostileDirectories) {
  const auto image = [] { return Image(); };
  struct Row {
    const char *text;
    Image image;
    const char *message;
    uint32_t found;  // 0: no service
  };
  for (const Row &row : {
           Row{"none", image(), "", 0},
           Row{"a service", image().answering(0xC0000, 0xF0000, 0x1234), "", 0xF1234},
           Row{"at the lower end", image().answering(0xA0000, 0xA0000, 0), "", 0xA0000},
           Row{"at the upper end", image().answering(0xC0000, 0xFFFFF, 0), "", 0xFFFFF},
           Row{"a service above", image().answering(0xC0000, 0xF0000, 0x10000),
               "rom_call returned invalid entry point 0x100000\n", 0},
           Row{"a service below", image().answering(0xC0000, 0x9FFFF, 0),
               "rom_call returned invalid entry point 0x9ffff\n", 0},
           Row{"base and offset that wrap", image().answering(0xC0000, 0xFFFFFFFF, 0xF0001), "", 0xF0000},
           Row{"entry above the ROM", image().directory(0xB0000, 0x100000).answering(0xC0000, 0xF0000, 0), "",
               0},
           Row{"entry below the ROM", image().directory(0xB0000, 0x9FFFF), "", 0},
           Row{"HLT, then a service",
               image().put(0xB0010, "\xF4", 1).directory(0xB0000, 0xB0010).answering(0xC0000, 0xF0000, 0), "",
               0xF0000},
           Row{"division by 0", image().put(0xB0010, "\xD4\x00", 2).directory(0xB0000, 0xB0010), "", 0},
           Row{"endless, then a service",
               image().put(0xB0010, "\xEB\xFE", 2).directory(0xB0000, 0xB0010).answering(0xC0000, 0xF0000, 0),
               "", 0xF0000},
           Row{"a directory next to another",
               image()
                   .put(0xB0040, "\xB0\x80\xCB", 3)
                   .directory(0xB0000, 0xB0040)
                   .directory(0xB0010, 0xB0010 + 0x110)
                   .answering(0xB0020, 0xF0000, 0),
               "", 0xF0000},
           Row{"a header of 32 bytes",
               image()
                   .answering(0xC0000, 0xF0000, 0)
                   .directory(0xC0000, 0xC0100, 2)
                   .put(0xC0010, "\xFF\x01", 2),
               "", 0xF0000},
           Row{"a header whose second half spoils the sum",
               image().answering(0xC0000, 0xF0000, 0).directory(0xC0000, 0xC0100, 2).put(0xC001F, "\xFF", 1),
               "", 0},
           Row{"a header that runs past the ROM", image().directory(0xFFFF0, 0xB0000, 2), "", 0},
       }) {
    SCOPED_TRACE(row.text);
    std::vector<char> bytes = row.image.bytes();
    const bool marked = std::memcmp(bytes.data() + 0xFFFEA - kRomBase, "VELDRA", 6) == 0;
    install(bytes);
    ASSERT_EQ(romcall_init(&ri_, 7), marked ? 0 : -1);
    testing::internal::CaptureStderr();
    const uint8_t *found = find_call(&ri_, "$PCI");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.message);
    EXPECT_EQ(found, row.found == 0 ? nullptr : ri_.rom + (row.found - kRomBase));
    EXPECT_EQ(romcall_fini(&ri_), 0);
  }
}

// A ROM full of directories that never return must not hold the search up: all of them share one budget.
TEST_F(RomAccess, EndlessDirectoriesEverywhere) {
  Image image;
  image.put(0xB8000, "\xEB\xFE", 2);
  for (uint32_t at = 0xA0000; at < 0xB8000; at += 16) {
    image.directory(at, 0xB8000);
  }
  install(image.bytes());
  ASSERT_EQ(romcall_init(&ri_, 7), 0);
  EXPECT_EQ(find_call(&ri_, "$PCI", 100'000), nullptr);
}

// A real BIOS, as the machine's firmware would leave it: it completes the directory's header when it starts.
TEST_F(RomAccess, SeaBios) {
  constexpr const char *kPath = "/usr/share/seabios/bios.bin";
  if (!fs::exists(kPath)) {
    GTEST_SKIP() << kPath << " is not installed";
  }
  const std::vector<char> bios = read_file(kPath);
  constexpr char kSignature[] = "_32_";
  constexpr char kEntryCode[] = "\x9C\x3D$PCI";  // pushf; cmp eax, "$PCI"
  const auto header = std::search(bios.begin(), bios.end(), kSignature, kSignature + 4);
  const auto entry = std::search(bios.begin(), bios.end(), kEntryCode, kEntryCode + 6);
  ASSERT_NE(header, bios.end());
  ASSERT_NE(entry, bios.end());
  const uint32_t base = 0x100000 - static_cast<uint32_t>(bios.size());
  Image image;
  image.put(base, bios.data(), bios.size());
  image.put(0xFFFEA, "VELDRA", 6);
  image.directory(base + static_cast<uint32_t>(header - bios.begin()),
                  base + static_cast<uint32_t>(entry - bios.begin()));
  install(image.bytes());
  EXPECT_EQ(init_messages(3, 0), "");
  ASSERT_NE(ri_.pci_bios_entry_point, nullptr);
  fake_portio::answer = [](uint16_t port, unsigned) { return port == 0xCFC ? 0x12345678u : 0; };
  x86_reg_t reg = {};
  reg.u1.s2.rax = 0xB101;  // PCI BIOS present?
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2), 0);
  EXPECT_EQ(reg.u4.s1.redx, 0x20494350u);  // "PCI "
  EXPECT_EQ(reg.u2.s2.rbx, 0x0210);
  reg = {};
  reg.u1.s2.rax = 0xB10A;  // read a double word of configuration space
  reg.u2.s2.rbx = 0x0510;
  reg.redi = 0x40;
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2), 0);
  EXPECT_EQ(fake_portio::writes, (std::vector{fake_portio::Write{0xCF8, 4, 0x80051040}}));
  EXPECT_EQ(reg.u3.s1.recx, 0x12345678u);
  reg = {};
  reg.u1.s2.rax = 0xB10E;  // get routing options: none before the firmware has set up its table
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2), -0x81);
  reg.u1.s2.rax = 0xB102;  // find a device, over all buses
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.pci_bios_entry_point, 2), -0x86);
}

TEST_F(RomAccess, FailedCallLeavesTheRegisters) {
  install(Image().put(0xB0000, "\xB8\x01\x00\x00\x00\xF4", 6).bytes());
  ASSERT_EQ(romcall_init(&ri_, 7), 0);
  x86_reg_t reg = {};
  reg.u1.s1.reax = 0x8A55;
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.rom + 0x10000, 2), -1);
  EXPECT_EQ(reg.u1.s1.reax, 0x8A55u);
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.rom + kRomSize, 2), -1);
  EXPECT_EQ(do_rom_call(&ri_, &reg, ri_.rom - 1, 2), -1);
  EXPECT_EQ(do_rom_call(&ri_, &reg, nullptr, 2), -1);
}

TEST_F(RomAccess, Peek) {
  char buffer[8] = {};
  EXPECT_EQ(rom_peek(&ri_, 0xFFFEA, buffer, 6), -1);  // nothing is mapped
  install(Image().put(0xA0000, "first", 5).bytes());
  ASSERT_EQ(romcall_init(&ri_, 7), 0);
  EXPECT_EQ(rom_peek(&ri_, 0xFFFEA, buffer, 6), 0);
  EXPECT_STREQ(buffer, "VELDRA");
  EXPECT_EQ(rom_peek(&ri_, 0xA0000, buffer, 5), 0);
  EXPECT_STREQ(buffer, "firstA");
  EXPECT_EQ(rom_peek(&ri_, 0xFFFFF, buffer, 1), 0);
  EXPECT_EQ(rom_peek(&ri_, 0xFFFFF, buffer, 2), -1);
  EXPECT_EQ(rom_peek(&ri_, 0xA0000, buffer, SIZE_MAX), -1);
  EXPECT_EQ(rom_peek(&ri_, 0x9FFFF, buffer, 1), -1);
  EXPECT_EQ(rom_peek(&ri_, 0x100000, buffer, 1), -1);
}

}  // namespace
