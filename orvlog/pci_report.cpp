#include "orvlog/pci_report.h"

#include <algorithm>

#include "orvlog/output.h"
#include "pci/pci_irq_routing.h"

namespace {

constexpr int kReportRows = 50;

}  // namespace

void print_pci_data() {
  pci_irq_route_entry table[kReportRows] = {};
  int count = kReportRows;
  print_out("\nBusNumber\tDeviceNumber\tFunctionNumber\tLinkIntA\tIRQBitMapIntA\tSlotNumber\n");
  flush_output();  // pci/ writes messages to standard error itself; they must follow the heading
  if (pci_irq_route_table(table, &count) != 0) {
    count = 0;
    print_err("orvlog: No PCI IRQ routing table is available.\n");
  }
  for (int i = 0; i < std::min(count, kReportRows); ++i) {
    const pci_irq_route_entry &entry = table[i];
    print_out("%2x\t\t%2x\t\t%2x\t\t%2x\t\t%4x\t\t%2d\n", entry.bus, entry.dev >> 3, entry.dev & 7,
              entry.link_inta, entry.irq_inta, entry.slot);
  }
  print_out("\n");
}
