#include "pci/pci_irq_routing.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <unistd.h>

#include "driver/channel.h"
#include "driver/report.h"
#include "pci/paths.h"
#include "pci/pci_irq_routing_state.h"
#include "pci/pcicall.h"
#include "pci/romaccess.h"
#include "pci/route_text.h"

pci_irq_route_entry internal_table[kRouteTableEntries];
int internal_table_size;
int rom_initialized;
rominfo ri;

namespace {

constexpr int kBuses = 256;

// Registers and classes by which a PCI-to-PCI bridge is known.
constexpr int kSubClass = offsetof(PCIConfigHeader, ClassCode.SubClass);
constexpr int kBaseClass = offsetof(PCIConfigHeader, ClassCode.BaseClass);
constexpr int kSecondaryBus = offsetof(PCIConfigHeader, Type.One.SecondaryBus);
constexpr uint8_t kClassBridge = 6;
constexpr uint8_t kSubClassPciToPci = 4;

constexpr uint8_t kGetRoutingOptions = 0x8E;  // of the PCI BIOS

// Guest addresses of the PCI BIOS request's two buffers.
constexpr uint32_t kGuestInfo = kLentBase;
constexpr uint32_t kGuestTable = kLentBase + 0x1000;

constexpr int bus_of(int address) {
  return address >> 8 & 0xFF;
}

constexpr int device_of(int address) {
  return address >> 3 & 0x1F;
}

void clear_internal_table() {
  internal_table_size = 0;
  memset(internal_table, 0, sizeof(internal_table));
}

// The entry of a slot. What cannot be read is zero.
pci_irq_route_entry read_slot(const char *slot_name) {
  pci_irq_route_entry entry = {};
  char path[PATH_MAX];
  snprintf(path, sizeof(path), "%s/%s/address", pci_slots_dir, slot_name);
  const Channel file(path, kOpenRead);
  constexpr size_t kAddressSize = 128;
  char text[kAddressSize + 1] = {};
  if (file.is_open() && read(file.fd(), text, kAddressSize) > 0) {
    unsigned bus = 0;
    unsigned device = 0;
    // A number that cannot be read stays 0; one that is too large only loses its high bits.
    (void)sscanf(text, "0000:%x:%x", &bus, &device);  // NOLINT(cert-err34-c)
    entry.bus = static_cast<uint8_t>(bus);
    entry.dev = static_cast<uint8_t>(device << 3);
    entry.slot = static_cast<uint8_t>(strtol(slot_name, nullptr, 10));
  }
  return entry;
}

// Asks the PCI BIOS of the open ROM for its table. Returns the call's result, or -1 if it cannot be made.
int read_rom_routes() {
  if (ri.pci_bios_entry_point == nullptr || ri.pci_es == 0) {
    return -1;
  }
  pci_route_info info = {.size = sizeof(internal_table), .data = kGuestTable, .res = ri.pci_es};
  const MemoryWindow lent[] = {
      {.base = kGuestInfo, .host = &info, .size = sizeof(info), .writable = true},
      {.base = kGuestTable, .host = internal_table, .size = sizeof(internal_table), .writable = true},
  };
  x86_reg_t reg = {};
  reg.u1.s3.rah = kPciBios;
  reg.u1.s3.ral = kGetRoutingOptions;
  reg.redi = kGuestInfo;
  const int result = do_rom_call(&ri, &reg, ri.pci_bios_entry_point, kRomCallMode, lent);
  if (result == 0) {
    const int entries = static_cast<int>(info.size / sizeof(pci_irq_route_entry));
    internal_table_size = std::min(entries, kRouteTableEntries);
  }
  return result;
}

void deliver(pci_irq_route_entry *p, int *size) {
  const int capacity = *size;
  if (p != nullptr) {
    std::copy_n(internal_table, std::clamp(capacity, 0, internal_table_size), p);
  }
  *size = internal_table_size;
  add_to_irq_route_table(p, capacity, size);
}

int copy_from(int (*source)(), pci_irq_route_entry *p, int *size) {
  if (source() != 0 || internal_table_size == 0) {
    return -1;
  }
  deliver(p, size);
  return 0;
}

// The routing entry of the nearest bridge above `bus` that has one, or null.
const pci_irq_route_entry *find_bridge_entry(const int (&bridge)[kBuses], int bus) {
  int above = bridge[bus];
  // A ring of bridges ends after as many steps as there are buses.
  for (int step = 0; step < kBuses && above >= 0; ++step) {
    const pci_irq_route_entry *entry = get_irq_route_table_entry(bus_of(above), device_of(above));
    if (entry != nullptr) {
      return entry;
    }
    above = bridge[bus_of(above)];
  }
  return nullptr;
}

}  // namespace

int pci_irq_route_table_from_kelmd() {
  clear_internal_table();
  ReportText text;
  read_report(kReportPciRouting, text);  // what was not read does not begin with '('
  const int count = read_daemon_routes(text, internal_table);
  if (count < 0) {
    return -1;
  }
  internal_table_size = count;
  return 0;
}

int pci_irq_route_table_from_sys() {
  clear_internal_table();
  struct dirent **names = nullptr;
  const int count = scandir(pci_slots_dir, &names, file_select, alphasort);
  if (count < 0) {
    return -1;
  }
  internal_table_size = std::min(count, kRouteTableEntries);
  for (int i = 0; i < internal_table_size; ++i) {
    internal_table[i] = read_slot(names[i]->d_name);
  }
  for (int i = 0; i < count; ++i) {
    free(names[i]);
  }
  free(names);
  return internal_table_size > 0 ? 0 : -1;
}

int pci_irq_route_table_from_proc() {
  clear_internal_table();
  FILE *file = fopen(zytpci_path, "re");
  if (file == nullptr) {
    return -1;
  }
  internal_table_size = read_proc_routes(file, internal_table);
  fclose(file);
  return 0;
}

int pci_irq_route_table_from_rom_internal() {
  clear_internal_table();
  const bool opened = rom_initialized == 0 && ri.pci_bios_entry_point == nullptr;
  int result = 0;
  if (opened) {
    rom_initialized = 1;
    result = romcall_init(&ri, kSkipInt15 | kSkipEv);
  }
  if (result == 0) {
    result = read_rom_routes();
  }
  if (opened) {
    romcall_fini(&ri);
  }
  return result >= 0 && internal_table_size > 0 ? 0 : -1;
}

int copy_irq_route_table_from_kelmd(pci_irq_route_entry *p, int *size) {
  return copy_from(pci_irq_route_table_from_kelmd, p, size);
}

int copy_irq_route_table_from_sys(pci_irq_route_entry *p, int *size) {
  return copy_from(pci_irq_route_table_from_sys, p, size);
}

int copy_irq_route_table_from_proc(pci_irq_route_entry *p, int *size) {
  return copy_from(pci_irq_route_table_from_proc, p, size);
}

int copy_irq_route_table_from_rom_internal(pci_irq_route_entry *p, int *size) {
  return copy_from(pci_irq_route_table_from_rom_internal, p, size);
}

int pci_irq_route_table(pci_irq_route_entry *p, int *size) {
  if (internal_table_size > 0) {
    deliver(p, size);
    return 0;
  }
  const bool loaded =
      copy_irq_route_table_from_kelmd(p, size) == 0 || copy_irq_route_table_from_sys(p, size) == 0 ||
      copy_irq_route_table_from_proc(p, size) == 0 || copy_irq_route_table_from_rom_internal(p, size) == 0;
  return loaded ? 0 : -1;
}

void add_to_irq_route_table(pci_irq_route_entry *table, int max_size, int *size) {
  int bridge[kBuses];
  compute_predecessor_bridge(bridge, kBuses);

  DIR *buses;
  for (int bus = first_bus(&buses); bus >= 0; bus = next_bus(&buses)) {
    const pci_irq_route_entry *inherited = find_bridge_entry(bridge, bus);
    if (inherited == nullptr) {
      continue;
    }
    pci_irq_route_entry entry = *inherited;
    entry.bus = static_cast<uint8_t>(bus);
    DIR *devices;
    for (int devfn = first_device(&devices, bus); devfn >= 0; devfn = next_device(&devices)) {
      entry.dev = static_cast<uint8_t>(devfn);
      if (table != nullptr && *size < max_size) {
        table[*size] = entry;
      }
      ++*size;
    }
  }
}

int compute_predecessor_bridge(int *pred, int size) {
  std::fill_n(pred, size, -1);
  int highest = -1;
  DIR *buses;
  for (int bus = first_bus(&buses); bus >= 0; bus = next_bus(&buses)) {
    highest = std::max(highest, bus);
    DIR *devices;
    for (int devfn = first_device(&devices, bus); devfn >= 0; devfn = next_device(&devices)) {
      const int dev = devfn >> 3;
      const int fn = devfn & 7;
      uint8_t value;
      if (pci_read_config_byte(bus, dev, fn, kBaseClass, &value) != 0 || value != kClassBridge) {
        continue;
      }
      if (pci_read_config_byte(bus, dev, fn, kSubClass, &value) != 0 || value != kSubClassPciToPci) {
        continue;
      }
      if (pci_read_config_byte(bus, dev, fn, kSecondaryBus, &value) == 0 && value < size) {
        pred[value] = bus << 8 | devfn;
      }
    }
  }
  return highest;
}

const pci_irq_route_entry *get_irq_route_table_entry(int bus, int dev) {
  for (int i = 0; i < internal_table_size; ++i) {
    if (internal_table[i].bus == bus && internal_table[i].dev >> 3 == dev) {
      return &internal_table[i];
    }
  }
  return nullptr;
}
