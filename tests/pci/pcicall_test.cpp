#include "pci/pcicall.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/pci/pci_fakes.h"

using namespace testing;

namespace {

// As they are before a test repoints them.
const std::string kPaths[] = {pci_proc_dir, pci_slots_dir, zytpci_path, physical_mem_path};

TEST(Paths, AreTheKernels) {
  EXPECT_THAT(kPaths, ElementsAre("/proc/bus/pci", "/sys/bus/pci/slots", "/proc/zytpci", "/dev/mem"));
}

using Configuration = PciTreeTest;
using Walk = PciTreeTest;

TEST_F(Configuration, ReadsWhatWasWritten) {
  add_function("05/1f.3", {{62, 0xABCD}});
  EXPECT_EQ(pci_write_config_byte(5, 0x1f, 3, 1, 0x11), 0);
  EXPECT_EQ(pci_write_config_word(5, 0x1f, 3, 2, 0x3322), 0);
  EXPECT_EQ(pci_write_config_dword(5, 0x1f, 3, 4, 0x77665544), 0);
  uint8_t bytes[9];
  EXPECT_EQ(pci_read_config(5, 0x1f, 3, 0, bytes, sizeof(bytes)), 0);
  EXPECT_THAT(bytes, ElementsAre(0, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0));
  uint16_t word = 0;
  uint32_t dword = 0;
  PCIConfigHeader header;
  EXPECT_TRUE(pci_read_config_word(5, 0x1f, 3, 2, &word) == 0 && word == 0x3322);
  EXPECT_TRUE(pci_read_config_dword(5, 0x1f, 3, 4, &dword) == 0 && dword == 0x77665544);
  EXPECT_TRUE(pci_read_config_header(5, 0x1f, 3, &header) == 0 && header.Type.One.BridgeControl == 0xABCD);
  EXPECT_EQ(pci_write_config_byte(5, 0x1f, 3, -1, 0), -1);
  EXPECT_EQ(pci_write_config(5, 0x1f, 3, 0, bytes, SIZE_MAX), -1);
  EXPECT_EQ(pci_write_config_byte(5, 0x1f, 4, 0, 0), -1);
}

TEST_F(Configuration, FailedReadLeavesOnes) {
  add_function("00/00.0");
  const std::tuple<int, int, size_t> rows[] = {{0, 0x100, 1}, {0, 0xFE, 4}, {0, -1, 1}, {1, 0, 4}};
  for (const auto &[bus, offset, size] : rows) {
    std::string value(5, '\0');
    EXPECT_EQ(pci_read_config(bus, 0, 0, offset, value.data(), size), -1);
    EXPECT_EQ(value, std::string(size, '\xFF') + std::string(5 - size, '\0')) << offset;
  }
}

// All buses, or all devices of one.
template <class... Bus>
std::vector<int> walk(int (*first)(DIR **, Bus...), int (*next)(DIR **), Bus... bus) {
  std::vector<int> found;
  DIR *dir;
  for (int number = first(&dir, bus...); number >= 0; number = next(&dir)) {
    found.push_back(number);
  }
  EXPECT_EQ(next(&dir), -1);
  return found;
}

TEST_F(Walk, ReadsBusesAndDevicesFromNames) {
  for (const char *name : {"05/00.0", "05/1f.7", "05/02.1", "05/1.2", "05/x", "0a/x", "1/00.0", "100/00.0",
                           "0000:00/00.0", "devices"}) {
    add_function(name);
  }
  EXPECT_THAT(walk(first_bus, next_bus), UnorderedElementsAre(0x05, 0x0a));
  EXPECT_THAT(walk(first_device, next_device, 5), UnorderedElementsAre(0x00, 0xff, 0x11));
  // Odd names may be taken for any bus or device, but for nothing else, and do not end the walk.
  for (const char *name : {"-1/x", "zz/x", "05/ff.f", "05/-1.-1", "05/99999999999999999999.0"}) {
    add_function(name);
  }
  EXPECT_THAT(walk(first_bus, next_bus), AllOf(SizeIs(4), Each(Le(0xff))));
  EXPECT_THAT(walk(first_device, next_device, 5), AllOf(SizeIs(6), Each(Le(0xff))));
  fs::remove_all(buses_);
  EXPECT_THAT(walk(first_bus, next_bus), SizeIs(0));
  EXPECT_THAT(walk(first_device, next_device, 5), SizeIs(0));
}

TEST_F(Walk, VisitsTheWholeSystem) {
  pci_iter iter;
  EXPECT_EQ(first_pci_device(&iter), -1);
  for (const char *name : {"00/00.0", "00/1f.2", "80/01.1", "80/1f.7"}) {
    add_function(name);
  }
  std::vector<int> devices;
  for (int device = first_pci_device(&iter); device >= 0; device = next_pci_device(&iter)) {
    devices.push_back(device);
  }
  EXPECT_THAT(devices, UnorderedElementsAre(0x0000, 0x00fa, 0x8009, 0x80ff));
  EXPECT_EQ(next_pci_device(&iter), -1);

  for (const char *bus : {"00", "80"}) {  // a bus without functions ends the walk, wherever it is
    fs::remove_all(buses_ / bus);
    fs::create_directory(buses_ / bus);
    int device = first_pci_device(&iter);
    for (int steps = 0; device >= 0; device = next_pci_device(&iter)) {
      ASSERT_LT(++steps, 3);
    }
    EXPECT_EQ(iter.busdir, nullptr);
  }
}

TEST_F(Configuration, SpeedFollowsStatusAndPciXCapability) {
  Registers longest = {{6, 0x10}, {0x34, 0x40}};  // uses every place that there is
  for (uint32_t at = 0x40; at < 0xFC; at += 4) {
    longest.emplace_back(at, (at + 4) << 8 | 1);
  }
  longest.emplace_back(0xFC, 7);
  const struct {
    const char *what;
    int speed;
    Registers registers;
    size_t size = 256;
  } rows[] = {
      {"no status", 0, {}, 7},
      {"66 MHz, no list", 66, {{6, 0x20}, {0x34, 0x40}, {0x40, 7}, {0x46, 2}}},
      {"no pointer", 66, {{6, 0x30}}, 0x34},
      {"null pointer", 33, {{0, 7}, {6, 0x10}, {0x34, 3}}},
      {"PCI-X 133", 133, {{6, 0x30}, {0x34, 0x43}, {0x40, 7}, {0x46, 2}}},
      {"PCI-X, other bits", 66, {{6, 0x10}, {0x34, 0x40}, {0x40, 7}, {0x46, 0xFD}}},
      {"PCI-X without status", 133, {{6, 0x10}, {0x34, 0x40}, {0x40, 1}, {0x41, 0xFF}, {0xFC, 7}}},
      {"absent capability", 33, {{6, 0x10}, {0x34, 0x40}, {0x40, 0xFF}, {0x41, 0x50}, {0x50, 7}}},
      {"list cut off", 33, {{6, 0x10}, {0x34, 0x40}, {0x40, 7}}, 0x41},
      {"ring", 66, {{6, 0x30}, {0x34, 0x40}, {0x40, 1}, {0x41, 0x50}, {0x50, 2}, {0x51, 0x40}}},
      {"longest list", 133, longest},
  };
  for (const auto &row : rows) {
    add_function("00/00.0", row.registers, row.size);
    EXPECT_EQ(pci_read_config_speed(0, 0, 0), row.speed) << row.what;
  }
}

}  // namespace
