// Stand-ins for I/O ports, for the kernel's PCI tree, and for physical memory with a ROM.
#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "pci/paths.h"
#include "pci/romaccess.h"
#include "tests/fake_driver.h"

namespace fs = std::filesystem;

struct PortWrite {
  uint16_t port;
  unsigned size;
  uint32_t value;
  bool operator==(const PortWrite &) const = default;
};

struct FakePorts {
  std::vector<PortWrite> writes = {};
  std::function<uint32_t(uint16_t port, unsigned size)> answer = [](uint16_t, unsigned) {
    return UINT32_MAX;
  };
  int privilege_errno = 0;  // 0: the privilege is granted
};
inline FakePorts fake_ports;

// Bytes written in hexadecimal.
inline std::string from_hex(const std::string &text) {
  std::istringstream words(text);
  std::string bytes;
  for (int byte; words >> std::hex >> byte;) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

inline std::string little_endian(uint32_t value) {
  return {reinterpret_cast<const char *>(&value), sizeof(value)};
}

// A ROM with code and directory headers put where a test wants them.
struct Image {
  std::string bytes = std::string(kRomSize, '\0');

  Image() {
    put(0xFFFEA, "VELDRA");
  }

  Image &put(uint32_t address, const std::string &code) {
    bytes.replace(address - kRomBase, code.size(), code);
    return *this;
  }

  // `error` spoils the checksum.
  Image &header(uint32_t address, uint32_t entry, char length = 1, char revision = 0, char error = 0) {
    std::string header = "_32_" + little_endian(entry) + revision + length;
    header += static_cast<char>(error - std::accumulate(header.begin(), header.end(), 0));
    return put(address, header);
  }

  // A directory with `code`, 256 bytes after its header.
  Image &directory(uint32_t address, const std::string &code) {
    return put(address + 0x100, code).header(address, address + 0x100);
  }

  // A directory whose code answers AL 0, EBX `base` and EDX `offset`.
  Image &answer(uint32_t base, uint32_t offset, uint32_t address = 0xC0000) {
    return directory(address,
                     from_hex("B0 00 BB") + little_endian(base) + "\xBA" + little_endian(offset) + "\xCB");
  }
};

using Registers = std::vector<std::pair<size_t, uint32_t>>;  // offset and 32-bit value, by offset

// Repoints the fixed paths, and checks at the end that no descriptor was left open. The driver has no report.
class PciTreeTest : public testing::Test {
 protected:
  PciTreeTest() {
    fs::create_directory(buses_);
    pci_proc_dir = buses_.c_str();
    pci_slots_dir = slots_.c_str();
    zytpci_path = proc_.c_str();
    physical_mem_path = mem_.c_str();
    fake_ports = {};
    fake_driver() = {.opens = {{"proc", 0}}, .report_status = -1};  // the status does not count
    take();
  }
  ~PciTreeTest() override {
    EXPECT_EQ(count_descriptors(), descriptors_);
    fs::remove_all(root_);
  }

  // Gives the driver a report of the routing.
  static void report(const std::string &text) {
    fake_driver().opens.clear();
    fake_driver().report = text;
  }
  static void write_file(const fs::path &path, const std::string &content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  // Makes a configuration file of `size` zeros, `registers` set, for a function named like "00/1f.7".
  void add_function(const std::string &name, const Registers &registers = {}, size_t size = 256) {
    std::string space(256, '\0');
    for (const auto &[offset, value] : registers) {
      space.replace(offset, sizeof(value), little_endian(value));
    }
    write_file(buses_ / name, space.substr(0, size));
  }
  // Makes a first megabyte that ends with `image`.
  void install(const Image &image) {
    write_file(mem_, std::string(kRomBase, '\0') + image.bytes);
  }
  static ptrdiff_t count_descriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
  }

  const ptrdiff_t descriptors_ = count_descriptors();
  std::string name_ = "/tmp/pci_tree_XXXXXX";
  const fs::path root_ = mkdtemp(name_.data());
  const fs::path buses_ = root_ / "buses";
  const fs::path slots_ = root_ / "slots";
  const fs::path proc_ = root_ / "zytpci";
  const fs::path mem_ = root_ / "mem";
};
