#include "pci/pci_irq_routing.h"

#include <climits>
#include <cstring>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvlog/pci_report.h"
#include "pci/paths.h"
#include "pci/pci_irq_routing_state.h"
#include "tests/pci/pci_tree.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

// A scripted ROM, in the place of the real one: whether it opens, and its answer to the routing request,
// which writes one entry with slot 4.
static struct FakeRom {
  int init_result = 0;
  int call_result = 0;
  uint16_t pci_es = 8;
  uint16_t size = 16;
  int inits = 0;
  int finis = 0;
} rom;
static const uint8_t kEntryPoint = 0;

int romcall_init(rominfo *info, int skip) {
  EXPECT_EQ(skip, 3);
  ++rom.inits;
  info->pci_bios_entry_point = rom.init_result == 0 ? &kEntryPoint : nullptr;
  info->pci_es = rom.pci_es;
  return rom.init_result;
}

int romcall_fini(rominfo *info) {
  ++rom.finis;
  info->pci_bios_entry_point = nullptr;
  return 0;
}

int do_rom_call(rominfo *, x86_reg_t *reg, const uint8_t *entry_point, int mode,
                std::span<const MemoryWindow> lent) {
  auto *info = static_cast<pci_route_info *>(lent[0].host);
  EXPECT_TRUE(entry_point == &kEntryPoint && mode == 2);
  EXPECT_TRUE(reg->u1.s1.reax == 0xB18E && reg->u2.s1.rebx == 0 && reg->redi == lent[0].base);
  EXPECT_TRUE(lent[0].size == 8 && lent[0].writable && lent[1].size == 1024 && lent[1].writable);
  EXPECT_TRUE(info->size == 1024 && info->data == lent[1].base && info->res == rom.pci_es);
  static_cast<pci_irq_route_entry *>(lent[1].host)->slot = 4;
  info->size = rom.size;
  return rom.call_result;
}

namespace {

using Entries = std::vector<std::string>;

// Entries as the text formats have them.
Entries Show(const pci_irq_route_entry *table, int count) {
  Entries rows;
  char row[80];
  for (const pci_irq_route_entry &e : std::span(table, static_cast<size_t>(count))) {
    snprintf(row, sizeof(row), "%02x %02x %x %02x %04x %d", e.bus, e.dev >> 3, e.dev & 7, e.link_inta,
             e.irq_inta, e.slot);
    rows.emplace_back(row);
  }
  return rows;
}

class Routing : public PciTreeTest {
 protected:
  Routing() {
    rom = {.init_result = -1};
    Forget();
  }

  void Forget() {
    memset(internal_table, 9, sizeof(internal_table));
    internal_table_size = 0;
    rom_initialized = 0;
    ri = {};
  }
};
using Report = Routing;

const char kA[] = "00 1f 0 60 0ef8 1";
const char kB[] = "07 02 0 61 0020 255";

struct Text {
  Text(std::string t, Entries both) : text(std::move(t)), daemon(both), proc(std::move(both)) {}
  Text(std::string t, Entries d, Entries p) : text(std::move(t)), daemon(std::move(d)), proc(std::move(p)) {}
  std::string text;
  Entries daemon, proc;  // what the two readers make of it
};

// Fills the driver's buffer up to the text's last 15 characters.
std::string Padded(const std::string &begin) {
  return begin + std::string(4608 - 4 - begin.size(), '\n') + "7 2 0 61 20 -1\n)";
}

const Text kTexts[] = {
    {"", {}},
    {"(", {}},
    {"(\nh\n)\n", {}},
    {"(\n)\n00 1f 0 60 0ef8 1\n", {kA}},                     // the heading, whatever it says
    {"(\nh\n00 1f 3 60 0ef8 1\n)\n07 2 0 61 20 9\n", {kA}},  // the function is not kept
    {"(\nh\n00 1f 0 60 ef8 1 x\n7 2 0 61 20 -1", {kA, kB}},  // no end at all
    {"(\r\nh\r\n00 1f 0 60 0ef8 1\r\n\r\n\t7 2 0 61 20 -1 \r\n)\r\n", {kA, kB}},
    {"(\nh\n001f00600ef81\n00 1f 0 60 ef8 123\n)", {kA, "00 1f 0 60 0ef8 12"}},  // widths part the fields
    {"(\nh\nxyz\n00 1f 0 60 0ef8 one\n00 1f 0 60 0ef8 1\n)", {kA}},  // nothing can be read, or not all
    {"(\nh\n-1 -1 0 -1 -1 -1\n)", {"ff 1f 0 ff ffff 255"}},
    {"(\nh\n" + std::string(4000, 'z') + "\n", {}},
    {"(\nh\n" + std::string(4000, ' ') + ")\n", {}},
    // The daemon's report is read line by line, from its first character, as far as the buffer goes;
    {" (\nh\n00 1f 0 60 0ef8 1\n)\n", {}, {kA}},
    {"any\nthing (\nh\n00 1f 0 60 0ef8 1\n", {}, {kA}},
    {"no parenthesis\nh\n00 1f 0 60 0ef8 1\n", {}, {}},
    {"(\n\n00 1f 0 60 0ef8 1\n)", {kA}, {kA}},
    {Padded("(\nh\n00 1f 0 60 0ef8 1\n"), {kA}, {kA, kB}},
    {std::string("(\nh\n\0\n00 1f 0 60 0ef8 1\n", 24), {}, {kA}},
    // the file as scanf does, where what a heading has too much counts as another line.
    {"(\nh\n00 1f 0\n60 0ef8 1\n7 2 0 61 20 -1\n)", {kB}, {kA, kB}},
    {"(\nh\n00 1f 0 60 0ef8 1 7 2 0 61 20 -1\n)", {kA}, {kA, kB}},
    {"(\nh\n00 1f )\n00 1f 0 60 0ef8 1\n", {kA}, {}},
    {"(" + std::string(78, 'x') + "\n1 1 1 1 1 1\n00 1f 0 60 0ef8 1\n", {kA}},
    {"(" + std::string(79, 'x') + "\n00 1f 0 60 0ef8 1\n", {}, {kA}},
};

TEST_F(Routing, TextsAreReadAsFarAsTheyGo) {
  EXPECT_EQ(pci_irq_route_table_from_proc(), -1);
  zytpci_path = "/dev/zero";  // has no end
  EXPECT_EQ(pci_irq_route_table_from_proc(), 0);
  zytpci_path = proc_.c_str();
  for (const Text &row : kTexts) {
    SCOPED_TRACE(row.text);
    driver_report = row.text;
    EXPECT_EQ(pci_irq_route_table_from_kelmd(), row.text[0] == '(' ? 0 : -1);
    EXPECT_EQ(Show(internal_table, internal_table_size), row.daemon);
    WriteFile(proc_, row.text);
    EXPECT_EQ(pci_irq_route_table_from_proc(), 0);
    EXPECT_EQ(Show(internal_table, internal_table_size), row.proc);
  }
}

TEST_F(Routing, SourcesYieldAtMost64Entries) {
  rom.init_result = 0;
  std::string text = "(\nh\n";
  for (const int entries : {64, 65}) {
    while (std::count(text.begin(), text.end(), '\n') < entries + 2) {
      text += "0 1 2 3 4 5\n";
    }
    driver_report = text;
    WriteFile(proc_, text);
    for (int slot = 0; slot < entries; ++slot) {
      WriteFile(slots_ / std::to_string(slot) / "address", "0000:01:02");
    }
    rom.size = static_cast<uint16_t>(16 * entries + 15);
    for (const auto source : {pci_irq_route_table_from_kelmd, pci_irq_route_table_from_sys,
                              pci_irq_route_table_from_proc, pci_irq_route_table_from_rom_internal}) {
      Forget();
      EXPECT_EQ(source(), 0);
      EXPECT_EQ(internal_table_size, 64);
    }
  }
}

TEST_F(Routing, SlotsHaveAddressAndName) {
  EXPECT_EQ(pci_irq_route_table_from_sys(), -1);
  WriteFile(slots_, "not a directory");
  EXPECT_EQ(pci_irq_route_table_from_sys(), -1);
  fs::remove(slots_);
  fs::create_directory(slots_);
  EXPECT_EQ(pci_irq_route_table_from_sys(), -1);
  WriteFile(slots_ / "1/address", "0000:" + std::string(100, '0') + "5:00\n");
  WriteFile(slots_ / "10/address", "0000:1ff:3f");  // only a byte of each is kept
  WriteFile(slots_ / "2/address", "0001:07:02");
  WriteFile(slots_ / "3/x", "");
  WriteFile(slots_ / "4/address", "");
  WriteFile(slots_ / "5-1/address", "0000:" + std::string(200, '0') + "7:2");
  EXPECT_EQ(pci_irq_route_table_from_sys(), 0);
  EXPECT_THAT(Show(internal_table, internal_table_size),
              ElementsAre("05 00 0 00 0000 1", "ff 1f 0 00 0000 10", "00 00 0 00 0000 2", "00 00 0 00 0000 0",
                          "00 00 0 00 0000 0", "00 00 0 00 0000 5"));
}

TEST_F(Routing, RomIsOpenedOnceAndClosed) {
  const struct {
    int init, result;
    uint16_t es, size;
    int entries;
  } rows[] = {{0, 0, 8, 47, 2}, {0, 0, 8, 15, 0}, {0, -0x89, 8, 32, 0},
              {0, 1, 8, 32, 0}, {0, 0, 0, 32, 0}, {-1, 0, 8, 32, 0}};
  for (const auto &row : rows) {
    Forget();
    rom = {.init_result = row.init, .call_result = row.result, .pci_es = row.es, .size = row.size};
    EXPECT_EQ(pci_irq_route_table_from_rom_internal(), row.entries > 0 ? 0 : -1);
    EXPECT_EQ(internal_table_size, row.entries);
    EXPECT_EQ(internal_table[1].bus, 0) << "what the ROM leaves alone is empty";
    EXPECT_EQ(pci_irq_route_table_from_rom_internal(), -1);
    EXPECT_TRUE(rom.inits == 1 && rom.finis == 1);
  }
  Forget();
  ri.pci_bios_entry_point = &kEntryPoint;  // what another has opened stays open
  ri.pci_es = 8;
  rom = {};
  EXPECT_EQ(pci_irq_route_table_from_rom_internal(), 0);
  EXPECT_EQ(rom.inits + rom.finis, 0);
}

TEST_F(Routing, FirstSourceThatYieldsIsTaken) {
  driver_report = "(\nh\n00 01 0 60 0ef8 1\n)";
  WriteFile(slots_ / "2/address", "0000:00:01");
  WriteFile(proc_, "(\nh\n00 01 0 60 0ef8 3\n)");
  rom.init_result = 0;
  const std::function<void()> removals[] = {
      [] { driver_report = "(\nh\n)"; }, [this] { fs::remove_all(slots_); },
      [this] { WriteFile(proc_, "(\nh\nx"); }, [] { rom.init_result = -1; }};
  int slot = 0;
  for (const auto &remove : removals) {
    Forget();
    int size = 17;
    EXPECT_EQ(pci_irq_route_table(nullptr, &size), 0);
    EXPECT_EQ(size, 1);
    EXPECT_EQ(internal_table[0].slot, ++slot);
    EXPECT_EQ(rom.inits, slot / 4);
    remove();
  }
  Forget();
  int size = 17;
  EXPECT_EQ(pci_irq_route_table(nullptr, &size), -1);
  EXPECT_EQ(size, 17);
}

TEST_F(Routing, BridgesPassTheirRoutingOn) {
  driver_report = "(\nh\n00 1c 0 60 0ef8 3\n00 1e 0 61 0020 4\n)";
  AddBridge("00/1c.2", 7);  // listed, by another function
  AddFunction("07/00.0");
  AddBridge("07/01.0", 8);  // not listed, behind a listed one
  AddBridge("08/1f.7", 9);
  AddBridge("09/00.0", 10);
  AddFunction("0a/00.0");
  AddBridge("00/02.0", 0x20);  // not listed, behind none
  AddFunction("20/00.0");
  AddBridge("30/00.0", 0x31);  // a ring
  AddBridge("31/00.0", 0x30);
  AddFunction("00/1e.0", {{10, 4}, {11, 6}}, 25);          // its secondary bus cannot be read
  AddFunction("00/1e.1", {{10, 1}, {11, 6}, {25, 0xff}});  // not a PCI-to-PCI bridge
  AddFunction("00/1e.2", {{10, 4}, {11, 1}, {25, 0xff}});
  AddFunction("ff/00.0");
  const auto all = {"00 1c 0 60 0ef8 3", "00 1e 0 61 0020 4", "07 00 0 60 0ef8 3", "07 01 0 60 0ef8 3",
                    "08 1f 7 60 0ef8 3", "09 00 0 60 0ef8 3", "0a 00 0 60 0ef8 3"};
  pci_irq_route_entry table[8] = {};
  for (int capacity = 0; capacity < 8; ++capacity) {
    int size = capacity;
    EXPECT_EQ(pci_irq_route_table(table, &size), 0);
    EXPECT_EQ(size, 7);
    EXPECT_EQ(table[capacity].link_inta, 0);
  }
  EXPECT_THAT(Show(table, 7), testing::UnorderedElementsAreArray(all));
  EXPECT_EQ(driver_requests, 1);
  for (const int hostile : {-5, INT_MIN}) {
    table[0] = table[1] = {};
    int size = hostile;
    EXPECT_EQ(pci_irq_route_table(table + 1, &size), 0);
    EXPECT_EQ(size, 7);
    size = hostile;
    add_to_irq_route_table(table + 1, 1, &size);
    EXPECT_EQ(size, hostile + 5);
    EXPECT_EQ(table[0].link_inta + table[1].link_inta, 0);
  }
  int most = INT_MAX;
  add_to_irq_route_table(table, 6, &most);
  EXPECT_EQ(most, INT_MAX);
  int pred[9] = {};
  EXPECT_EQ(compute_predecessor_bridge(pred, 8), 0xff);
  EXPECT_EQ(pred[7], 0x00e2);
  EXPECT_EQ(pred[8], 0);
  internal_table[1].dev |= 5;
  EXPECT_EQ(get_irq_route_table_entry(0, 0x1e), &internal_table[1]);
  EXPECT_EQ(get_irq_route_table_entry(1, 0x1e), nullptr);
}

const std::string kHeading =
    "\nBusNumber\tDeviceNumber\tFunctionNumber\tLinkIntA\tIRQBitMapIntA\tSlotNumber\n";

TEST_F(Report, HasAtMost50RowsAndIsTheSameAgain) {
  driver_report = "(\nh\n";
  std::string expected = kHeading;
  for (int i = 0; i < 60; ++i) {
    char row[80];
    snprintf(row, sizeof(row), "%x %x 0 60 ef8 %d\n", i / 32, i % 32, i);
    driver_report += row;
    snprintf(row, sizeof(row), "%2x\t\t%2x\t\t 0\t\t60\t\t ef8\t\t%2d\n", i / 32, i % 32, i);
    expected += i < 50 ? row : "";
  }
  for (int run = 0; run < 2; ++run) {
    testing::internal::CaptureStdout();
    print_pci_data();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected + "\n");
  }
  EXPECT_EQ(driver_requests, 1);
}

TEST_F(Report, SaysThatThereIsNoTable) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  print_pci_data();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), kHeading + "\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "orvlog: No PCI IRQ routing table is available.\n");
}

}  // namespace
