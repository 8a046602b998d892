// The routing table of the process and the state of its sources. Tests reset both between cases.
#pragma once

#include "pci/pci_irq_routing.h"
#include "pci/romaccess.h"
#include "pci/route_text.h"

extern pci_irq_route_entry internal_table[kRouteTableEntries];  // the table as read from a source
extern int internal_table_size;                                 // entries in it; 0 if none is loaded
extern int rom_initialized;                                     // set once the ROM source has opened the ROM
extern rominfo ri;
