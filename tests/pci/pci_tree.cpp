#include "tests/pci/pci_tree.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

#include "pci/paths.h"
#include "pci/portio.h"
#include "tests/fake_driver.h"
#include "tests/pci/fake_portio.h"

namespace fs = std::filesystem;

int raise_io_privilege() {
  errno = fake_portio::privilege_errno;
  return errno == 0 ? 0 : -1;
}

uint32_t port_in(uint16_t port, unsigned size) {
  return fake_portio::answer ? fake_portio::answer(port, size) : 0xFFFFFFFF;
}

void port_out(uint16_t port, unsigned size, uint32_t value) {
  fake_portio::writes.push_back({port, size, value});
}

static fs::path make_root() {
  char name[] = "/tmp/pci_tree_XXXXXX";
  return mkdtemp(name);
}

static size_t count_descriptors() {
  return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

PciTreeTest::PciTreeTest() : root_(make_root()), descriptors_(count_descriptors()) {
  fs::create_directory(buses_);
  pci_proc_dir = buses_.c_str();
  pci_slots_dir = slots_.c_str();
  zytpci_path = proc_.c_str();
  physical_mem_path = mem_.c_str();
  fake_portio::reset();
  fake_driver() = {.opens = {{"proc", 0}}, .report_status = -1};  // the status does not count
  take();
}

PciTreeTest::~PciTreeTest() {
  EXPECT_EQ(count_descriptors(), descriptors_);
  fs::remove_all(root_);
}

void PciTreeTest::report(const std::string &text) {
  fake_driver().opens.clear();
  fake_driver().report = text;
}

void PciTreeTest::write_file(const fs::path &path, const std::string &content) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

void PciTreeTest::add_function(const std::string &name, const Bytes &bytes, size_t size) {
  std::string space(256, '\0');
  for (const auto &[offset, value] : bytes) {
    space.at(offset) = static_cast<char>(value);
  }
  write_file(buses_ / name, space.substr(0, size));
}

void PciTreeTest::add_bridge(const std::string &name, int secondary) {
  add_function(name, {{10, 4}, {11, 6}, {25, secondary}});
}

void PciTreeTest::install(const Image &image) {
  write_file(mem_, std::string(kRomBase, '\0') + image.bytes);
}
