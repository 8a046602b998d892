// The routing table from a ROM image, through everything that lies between.
#include <gtest/gtest.h>

#include "orvlog/pci_report.h"
#include "pci/pci_irq_routing_state.h"
#include "tests/pci/fake_portio.h"
#include "tests/pci/pci_tree.h"

namespace {

struct RouteFromRom : PciTreeTest {
  RouteFromRom() {
    internal_table_size = 0;
    rom_initialized = 0;
    ri = {};
  }
};

TEST_F(RouteFromRom, IsPrintedAndKept) {
  InstallRom("services.rom");
  AddBridge("05/01.0", 6);
  AddFunction("06/1f.7");
  for (int run = 0; run < 2; ++run) {
    testing::internal::CaptureStdout();
    print_pci_data();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nBusNumber\tDeviceNumber\tFunctionNumber\tLinkIntA\tIRQBitMapIntA\tSlotNumber\n"
              " 0\t\t1f\t\t 0\t\t60\t\tdeb8\t\t 0\n"
              " 5\t\t 1\t\t 0\t\t62\t\t c00\t\t 3\n"
              " 6\t\t1f\t\t 7\t\t62\t\t c00\t\t 3\n\n");
    std::filesystem::remove(mem_);  // the second time the ROM is not needed
  }
  EXPECT_EQ(fake_portio::writes, (std::vector<fake_portio::Write>{{0xCF8, 4, 0x80000060}}));
  EXPECT_EQ(ri.rom, nullptr);
}

TEST_F(RouteFromRom, OfAnotherMakerIsRefusedAndReleased) {
  Install("");
  testing::internal::CaptureStderr();
  EXPECT_EQ(pci_irq_route_table_from_rom_internal(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Not a Orv Stratum Server!\n");
  EXPECT_EQ(ri.rom, nullptr);
}

}  // namespace
