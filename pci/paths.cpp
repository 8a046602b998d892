#include "pci/paths.h"

constinit const char *pci_proc_dir = "/proc/bus/pci";
constinit const char *pci_slots_dir = "/sys/bus/pci/slots";
constinit const char *zytpci_path = "/proc/zytpci";
constinit const char *physical_mem_path = "/dev/mem";
