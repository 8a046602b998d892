// Paths of the kernel that this library reads. Product code only reads these pointers.
//
// A test repoints one before the call under test, for example pci_proc_dir = "/tmp/tree", at a string that
// outlives every use.
#pragma once

inline constinit const char *pci_proc_dir = "/proc/bus/pci";        // a file per function, by bus
inline constinit const char *pci_slots_dir = "/sys/bus/pci/slots";  // a directory per slot
inline constinit const char *zytpci_path = "/proc/zytpci";          // the routing table as text
inline constinit const char *physical_mem_path = "/dev/mem";        // physical memory
