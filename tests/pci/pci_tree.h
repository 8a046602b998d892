// A PCI tree, a slot directory, a proc file and a physical memory of the test's own.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/pci/rom_image.h"

using Bytes = std::vector<std::pair<size_t, uint32_t>>;  // offset and value

// Repoints the fixed paths, and checks at the end that no descriptor was left open. The driver has no report.
class PciTreeTest : public testing::Test {
 protected:
  PciTreeTest();
  ~PciTreeTest() override;

  // Gives the driver a report of the routing.
  static void report(const std::string &text);
  void write_file(const std::filesystem::path &path, const std::string &content);
  // Makes a configuration file of `size` zeros, `bytes` set, for a function named like "00/1f.7".
  void add_function(const std::string &name, const Bytes &bytes = {}, size_t size = 256);
  // Makes a PCI-to-PCI bridge that leads to bus `secondary`.
  void add_bridge(const std::string &name, int secondary);
  // Makes a first megabyte that ends with `image`.
  void install(const Image &image);

  const std::filesystem::path root_;
  const std::filesystem::path buses_ = root_ / "buses";
  const std::filesystem::path slots_ = root_ / "slots";
  const std::filesystem::path proc_ = root_ / "zytpci";
  const std::filesystem::path mem_ = root_ / "mem";

 private:
  const size_t descriptors_;
};
