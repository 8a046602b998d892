// Paths of the kernel that this library reads. Product code only reads these pointers.
//
// A test repoints one before the call under test, for example pci_proc_dir = "/tmp/tree", at a string that
// outlives every use.
#pragma once

extern const char *pci_proc_dir;       // "/proc/bus/pci": one directory per bus, one file per function
extern const char *pci_slots_dir;      // "/sys/bus/pci/slots": one directory per slot
extern const char *zytpci_path;        // "/proc/zytpci": routing table as text
extern const char *physical_mem_path;  // "/dev/mem": physical memory
