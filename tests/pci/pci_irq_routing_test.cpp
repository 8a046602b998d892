#include "pci/pci_irq_routing.h"

#include <climits>
#include <cstring>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvlog/pci_report.h"
#include "pci/pci_irq_routing_state.h"
#include "tests/pci/pci_fakes.h"

using testing::ElementsAre;

namespace {

using Entries = std::vector<std::string>;

// Entries as the text formats have them.
Entries show(const pci_irq_route_entry *table = internal_table, int count = internal_table_size) {
  Entries rows;
  char row[80];
  for (const pci_irq_route_entry &e : std::span(table, static_cast<size_t>(count))) {
    snprintf(row, sizeof(row), "%02x %02x %x %02x %04x %d", e.bus, e.dev >> 3, e.dev & 7, e.link_inta,
             e.irq_inta, e.slot);
    rows.emplace_back(row);
  }
  return rows;
}

struct Routing : PciTreeTest {
  Routing() {
    forget();
  }

  void forget() {
    memset(internal_table, 9, sizeof(internal_table));
    internal_table_size = 0;
    rom_initialized = 0;
    ri = {};
  }

  // A ROM whose presence call returns ES `es`. Its routing call writes an entry of EAX, EBX and the request
  // as it was, and returns `size` in the request, AH `ah`, and carry if AH has its highest bit set.
  void install_rom(char es, uint16_t size, char ah = 0) {
    const std::string mov_ah = std::string("\xB4") + ah;
    install(
        Image()
            .answer(0xF0000, 0)
            .put(0xF0000,
                 from_hex("3C 8E 74 06 6A") + es +
                     from_hex("07 30 E4 C3") +  // cmp al,0x8E; je; push; pop es; xor ah,ah; ret
                     from_hex(
                         "89 FE 8B 7F 02 AB 93 AB A5 A5") +  // mov esi,edi; mov edi,[edi+2]; stosd; xchg; ...
                     from_hex("66 C7 46 F8") +
                     little_endian(size).substr(0, 2) + mov_ah + from_hex("00 E4") + mov_ah + "\xC3"));
  }
};

const char kReportRead[] = "open proc 0\nioctl proc 4 1\nclose proc\n";

const char kA[] = "00 1f 0 60 0ef8 1";
const char kB[] = "07 02 0 61 0020 255";

struct Text {
  std::string text;
  Entries daemon, proc = {"="};  // what the two readers make of it; "=": the same
};

const Text kTexts[] = {
    {"", {}},
    {"(\n)\n00 1f 0 60 0ef8 1\n", {kA}},                                         // any heading
    {"(\nh\n00 1f 3 60 0ef8 1\n)\n07 2 0 61 20 9\n", {kA}},                      // the function is not kept
    {"(\nh\n00 1f 0 60 ef8 1 x\n7 2 0 61 20 -1", {kA, kB}},                      // no end at all
    {"(\nh\n001f00600ef81\n00 1f 0 60 ef8 123\n)", {kA, "00 1f 0 60 0ef8 12"}},  // widths separate the fields
    {"(\nh\nxyz\n00 1f 0 60 0ef8 one\n00 1f 0 60 0ef8 1\n)", {kA}},  // nothing can be read, or not all
    // The daemon's report is read line by line, from its first character, as far as the buffer goes.
    {"any\nthing (\nh\n00 1f 0 60 0ef8 1\n", {}, {kA}},
    {"(\nh\n00 1f 0 60 0ef8 1" + std::string(4600, '\n') + "7 2 0 61 20 -1", {kA}, {kA, kB}},
    {std::string("(\nh\n\0\n00 1f 0 60 0ef8 1\n", 24), {}, {kA}},
    // The file is read as scanf does, and the rest of a long heading counts as another line.
    {"(\nh\n00 1f 0\n60 0ef8 1\n7 2 0 61 20 -1\n)", {kB}, {kA, kB}},
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
    report(row.text);
    EXPECT_EQ(pci_irq_route_table_from_kelmd(), row.text[0] == '(' ? 0 : -1);
    EXPECT_EQ(show(), row.daemon);
    write_file(proc_, row.text);
    EXPECT_EQ(pci_irq_route_table_from_proc(), 0);
    EXPECT_EQ(show(), row.proc == Entries{"="} ? row.daemon : row.proc);
  }
}

TEST_F(Routing, SourcesYieldAtMost64Entries) {
  std::string text = "(\nh\n";
  for (int entry = 1; entry <= 65; ++entry) {
    text += "0 1 2 3 4 5\n";
    write_file(slots_ / std::to_string(entry) / "address", "0000:01:02");
  }
  report(text);
  write_file(proc_, text);
  install_rom(8, 65 * 16);
  for (const auto source : {pci_irq_route_table_from_kelmd, pci_irq_route_table_from_sys,
                            pci_irq_route_table_from_proc, pci_irq_route_table_from_rom_internal}) {
    forget();
    EXPECT_EQ(source(), 0);
    EXPECT_EQ(internal_table_size, 64);
  }
}

TEST_F(Routing, SlotsHaveAddressAndName) {
  EXPECT_EQ(pci_irq_route_table_from_sys(), -1);
  fs::create_directory(slots_);
  EXPECT_EQ(pci_irq_route_table_from_sys(), -1);
  write_file(slots_ / "1/address", "0000:" + std::string(100, '0') + "5:00\n");
  write_file(slots_ / "10/address", "0000:1ff:3f");  // only a byte of each is kept
  write_file(slots_ / "2/address", "0001:07:02");
  write_file(slots_ / "3/x", "");
  write_file(slots_ / "4/address", "");
  write_file(slots_ / "5-1/address", "0000:" + std::string(200, '0') + "7:2");
  EXPECT_EQ(pci_irq_route_table_from_sys(), 0);
  EXPECT_THAT(show(), ElementsAre("05 00 0 00 0000 1", "ff 1f 0 00 0000 10", "00 00 0 00 0000 2",
                                  "00 00 0 00 0000 0", "00 00 0 00 0000 0", "00 00 0 00 0000 5"));
}

TEST_F(Routing, RomIsAskedOnceAndClosed) {
  const std::tuple<char, uint16_t, char, int> rows[] = {
      {8, 47, 0, 2}, {8, 15, 0, 0}, {8, 32, -0x77, 0}, {8, 32, 1, 0}, {0, 32, 0, 0}};
  for (const auto &[es, size, ah, entries] : rows) {
    forget();
    install_rom(es, size, ah);
    EXPECT_EQ(pci_irq_route_table_from_rom_internal(), entries > 0 ? 0 : -1);
    EXPECT_EQ(internal_table_size, entries);
    EXPECT_EQ(internal_table[1].bus, 0) << "what the ROM leaves alone is empty";
    EXPECT_EQ(pci_irq_route_table_from_rom_internal(), -1);
    EXPECT_EQ(ri.rom, nullptr);
  }
  forget();
  install_rom(8, 16);
  ASSERT_EQ(romcall_init(&ri, kSkipInt15 | kSkipEv), 0);  // what another has opened stays open
  EXPECT_EQ(pci_irq_route_table_from_rom_internal(), 0);
  EXPECT_EQ(std::string(reinterpret_cast<char *>(internal_table), 16),
            from_hex("8E B1 00 00 00 00 00 00 00 04 00 10 10 00 08 00"));
  EXPECT_EQ(romcall_fini(&ri), 0);
}

TEST_F(Routing, FirstSourceThatYieldsIsTaken) {
  report("(\nh\n00 01 0 60 0ef8 1\n)");
  write_file(slots_ / "2/address", "0000:00:01");
  write_file(proc_, "(\nh\n00 01 0 60 0ef8 3\n)");
  install_rom(4, 16);
  const std::function<void()> removals[] = {[] { report("(\nh\n)"); }, [this] { fs::remove_all(slots_); },
                                            [this] { write_file(proc_, "(\nh\nx"); },
                                            [this] { install(Image().put(0xFFFEA, "?")); }};
  int slot = 0;
  int size = 17;
  for (const auto &remove : removals) {
    forget();
    EXPECT_EQ(pci_irq_route_table(nullptr, &size), 0);
    EXPECT_EQ(size, 1);
    EXPECT_EQ(internal_table[0].slot, ++slot);
    EXPECT_EQ(rom_initialized, slot / 4);
    remove();
  }
  forget();
  size = 17;
  EXPECT_EQ(pci_irq_route_table(nullptr, &size), -1);
  EXPECT_EQ(size, 17);
}

// The configuration of a PCI-to-PCI bridge that leads to bus `secondary`.
Registers bridge_to(uint32_t secondary) {
  return {{10, 4}, {11, 6}, {25, secondary}};
}

TEST_F(Routing, BridgesPassTheirRoutingOn) {
  report("(\nh\n00 1c 0 60 0ef8 3\n00 1e 0 61 0020 4\n)");
  add_function("00/1c.2", bridge_to(7));  // listed, by another function
  add_function("07/00.0");
  add_function("07/01.0", bridge_to(8));  // not listed, behind a listed one
  add_function("08/1f.7", bridge_to(9));
  add_function("09/00.0", bridge_to(10));
  add_function("0a/00.0");
  add_function("00/02.0", bridge_to(0x20));  // not listed, behind none
  add_function("20/00.0");
  add_function("30/00.0", bridge_to(0x31));  // a ring
  add_function("31/00.0", bridge_to(0x30));
  add_function("00/1e.0", {{10, 4}, {11, 6}}, 25);          // its secondary bus cannot be read
  add_function("00/1e.1", {{10, 1}, {11, 6}, {25, 0xff}});  // not a PCI-to-PCI bridge
  add_function("00/1e.2", {{10, 4}, {11, 1}, {25, 0xff}});
  add_function("ff/00.0");
  const auto all = {"00 1c 0 60 0ef8 3", "00 1e 0 61 0020 4", "07 00 0 60 0ef8 3", "07 01 0 60 0ef8 3",
                    "08 1f 7 60 0ef8 3", "09 00 0 60 0ef8 3", "0a 00 0 60 0ef8 3"};
  pci_irq_route_entry table[8] = {};
  for (int capacity = 0; capacity < 8; ++capacity) {
    int size = capacity;
    EXPECT_EQ(pci_irq_route_table(table, &size), 0);
    EXPECT_EQ(size, 7);
    EXPECT_EQ(table[capacity].link_inta, 0);
  }
  EXPECT_THAT(show(table, 7), testing::UnorderedElementsAreArray(all));
  EXPECT_EQ(take(), kReportRead);
  table[0] = {};
  int negative = INT_MIN;
  EXPECT_EQ(pci_irq_route_table(table, &negative), 0);
  EXPECT_EQ(negative, 7);
  EXPECT_EQ(table[0].link_inta, 0);
  int pred[9] = {};
  EXPECT_EQ(compute_predecessor_bridge(pred, 8), 0xff);
  EXPECT_TRUE(pred[7] == 0x00e2 && pred[8] == 0);
  internal_table[1].dev |= 5;
  EXPECT_EQ(get_irq_route_table_entry(0, 0x1e), &internal_table[1]);
  EXPECT_EQ(get_irq_route_table_entry(1, 0x1e), nullptr);
  EXPECT_EQ(get_irq_route_table_entry(0, 0), nullptr) << "the zeros after the table are no entry";
}

const std::string kHeading =
    "\nBusNumber\tDeviceNumber\tFunctionNumber\tLinkIntA\tIRQBitMapIntA\tSlotNumber\n";

TEST_F(Routing, ReportHasAtMost50RowsAndIsTheSameAgain) {
  std::string text = "(\nh\na 1f 0 60 ef8 12\n";
  std::string expected = kHeading + " a\t\t1f\t\t 0\t\t60\t\t ef8\t\t12\n";
  for (int i = 1; i < 60; ++i) {
    text += "1f 9 0 6 def8 3\n";
    expected += i < 50 ? "1f\t\t 9\t\t 0\t\t 6\t\tdef8\t\t 3\n" : "";
  }
  report(text);
  for (int run = 0; run < 2; ++run) {
    testing::internal::CaptureStdout();
    print_pci_data();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected + "\n");
  }
  EXPECT_EQ(take(), kReportRead);
}

TEST_F(Routing, ReportAndMessagesKeepTheirOrder) {
  install(Image().put(0xFFFEA, "?"));
  const int standard_error = dup(STDERR_FILENO);
  testing::internal::CaptureStdout();
  dup2(STDOUT_FILENO, STDERR_FILENO);
  print_pci_data();
  const std::string both = testing::internal::GetCapturedStdout();
  dup2(standard_error, STDERR_FILENO);
  close(standard_error);
  EXPECT_EQ(both, kHeading + "Not a Orv Stratum Server!\norvlog: No PCI IRQ routing table is available.\n\n");
}

}  // namespace
