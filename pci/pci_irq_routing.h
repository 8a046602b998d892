// The server's PCI IRQ routing table: which interrupt link each slot's or device's INTA# pin is wired to.
//
// The table is taken from the first source that yields entries: the health monitor daemon's report, sysfs,
// /proc/zytpci, the PCI BIOS in the system ROM. Devices behind PCI-to-PCI bridges are then added; they
// inherit the routing of the bridge that leads to them.
#pragma once

#include <cstddef>
#include <cstdint>

// An entry of the PCI BIOS interrupt routing table.
typedef struct [[gnu::packed]] _PCIIRQROUTENTRY {
  uint8_t bus;
  uint8_t dev;        // device << 3 | function
  uint8_t link_inta;  // interrupt link of INTA#; 0 if not connected
  uint16_t irq_inta;  // the IRQs that the link may use: bit n for IRQ n
  uint8_t link_intb;
  uint16_t irq_intb;
  uint8_t link_intc;
  uint16_t irq_intc;
  uint8_t link_intd;
  uint16_t irq_intd;
  uint8_t slot;  // 0 for a device built into the board
  uint8_t reserved;
} pci_irq_route_entry;
static_assert(sizeof(pci_irq_route_entry) == 16);
static_assert(offsetof(pci_irq_route_entry, irq_inta) == 3 && offsetof(pci_irq_route_entry, irq_intb) == 6);
static_assert(offsetof(pci_irq_route_entry, irq_intc) == 9 && offsetof(pci_irq_route_entry, irq_intd) == 12);
static_assert(offsetof(pci_irq_route_entry, slot) == 14);

// Routing-options buffer of the PCI BIOS call, as 32-bit callers lay it out.
typedef struct [[gnu::packed]] _PCIIRQROUTEINFO {
  uint16_t size;  // of the data buffer in bytes; on return, of the routing data
  uint32_t data;  // address of the data buffer
  uint16_t res;   // selector of the data buffer
} pci_route_info;
static_assert(sizeof(pci_route_info) == 8);
static_assert(offsetof(pci_route_info, data) == 2 && offsetof(pci_route_info, res) == 6);

// Delivers the routing table into `p`, which has room for `*size` entries, and sets `*size` to the number of
// entries that there are, which may be more than there was room for. With `p` null, only counts. Returns 0,
// or -1 with `*size` unchanged if no source yields an entry. The table is read from its source once per
// process.
int pci_irq_route_table(pci_irq_route_entry *p, int *size);

// The sources. Each fills the process's table and returns 0 (the table may still be empty), or -1 with the
// table empty.
int pci_irq_route_table_from_kelmd();
int pci_irq_route_table_from_sys();
int pci_irq_route_table_from_proc();
int pci_irq_route_table_from_rom_internal();

// Each runs one source and delivers what it yields, as pci_irq_route_table does. Returns 0, or -1 with
// `*size` unchanged if there is nothing to deliver.
int copy_irq_route_table_from_kelmd(pci_irq_route_entry *p, int *size);
int copy_irq_route_table_from_sys(pci_irq_route_entry *p, int *size);
int copy_irq_route_table_from_proc(pci_irq_route_entry *p, int *size);
int copy_irq_route_table_from_rom_internal(pci_irq_route_entry *p, int *size);

// Appends an entry for every function behind a bridge whose routing is known, at `table[*size]` and on, as
// long as that lies below `max_size`; `*size` counts on in any case. `table` may be null.
void add_to_irq_route_table(pci_irq_route_entry *table, int max_size, int *size);

// For each bus below `size`, the bridge that leads to it as bus << 8 | device << 3 | function, or -1. Returns
// the highest bus number seen, or -1.
int compute_predecessor_bridge(int *pred, int size);

// The first entry of the process's table for a device, whichever its function, or null.
const pci_irq_route_entry *get_irq_route_table_entry(int bus, int dev);
