// PCI configuration space and device walks over the kernel's PCI tree.
//
// A function is addressed by bus (0-255), device (0-31) and function (0-7). Unless said otherwise an
// operation returns 0 or a non-negative value, and -1 on failure; nothing is ever printed. A configuration
// file is opened for one access and closed again.
//
// Programs here call pci_open, pci_read_config, pci_read_config_byte, file_select, and the walks over buses
// and over one bus. The other functions are the interface for others.
#pragma once

#include <cstddef>
#include <cstdint>
#include <dirent.h>

#include "pci/pci_config_header.h"

// State of a walk over all functions of all buses. The walk owns both handles: it closes them when it ends
// and sets them to null. Whoever leaves a walk early closes what is not null.
typedef struct _PCI_ITER {
  int bus;      // the current bus
  DIR *busdir;  // the directory of buses
  DIR *devdir;  // the directory of the current bus
} pci_iter;

// Opens a function's configuration file with mode `perm` (0 read-only, 2 read-write). Returns a descriptor,
// or a negative value.
int pci_open(int bus, int dev, int fn, int perm);

// Closes a descriptor of pci_open.
int pci_close(int fd_pci);

// Reads `size` bytes at byte `offset` into `value`. After a failure, a short read included, every byte of
// `value` is 0xFF, which is what an absent device answers.
int pci_read_config(int bus, int dev, int fn, int offset, void *value, size_t size);
int pci_read_config_header(int bus, int dev, int fn, PCIConfigHeader *value);
int pci_read_config_byte(int bus, int dev, int fn, int offset, uint8_t *value);
int pci_read_config_word(int bus, int dev, int fn, int offset, uint16_t *value);
int pci_read_config_dword(int bus, int dev, int fn, int offset, uint32_t *value);

// Writes `size` bytes of `value` at byte `offset`; fewer bytes written is a failure.
int pci_write_config(int bus, int dev, int fn, int offset, const void *value, size_t size);
int pci_write_config_byte(int bus, int dev, int fn, int offset, uint8_t value);
int pci_write_config_word(int bus, int dev, int fn, int offset, uint16_t value);
int pci_write_config_dword(int bus, int dev, int fn, int offset, uint32_t value);

// The next name in the directory of buses, two characters, or in that of one bus, at least four characters,
// in the order of the directory. Null at the end.
const char *next_bus_name(DIR *buses);
const char *next_function_name(DIR *bus);

// Walk the buses, in the order of the directory: return a bus number, or -1 when the walk is over, with `*dp`
// closed and null. A number is always within 0-255, however odd the name that it was read from.
int first_bus(DIR **dp);
int next_bus(DIR **dp);

// Walk the functions of one bus: return device << 3 | function (always within 0-255), or -1 when the walk is
// over, with `*dp` closed and null.
int first_device(DIR **dp, int bus);
int next_device(DIR **dp);

// Walk the functions of all buses: return bus << 8 | device << 3 | function, or -1 when the walk is over. A
// bus without functions ends the walk.
int first_pci_device(pci_iter *iter);
int next_pci_device(pci_iter *iter);

// Filter for scandir(3): 0 for "." and "..", 1 for every other name.
int file_select(const struct dirent *entry);

// Speed of a function's bus in MHz: 33, 66 or 133; 0 when its status cannot be read.
int pci_read_config_speed(int bus, int dev, int fn);
