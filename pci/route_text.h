// Readers of the two sources that hold the routing table as text: the daemon's report and /proc/zytpci.
#pragma once

#include <cstdio>

#include "pci/pci_irq_routing.h"

// Entries that a source is read for; what follows is passed over.
inline constexpr int kRouteTableEntries = 64;

// Both texts have a line that begins with '(', a heading line, a line per entry, and a line that begins with
// ')'. An entry is taken if all of its six fields can be read; a line that yields none is passed over. The
// readers store the entries in the zeroed `table` and return how many there are.

// Reads the daemon's report, one entry per line, and takes the text apart. Returns -1 if it does not begin
// with '('.
int read_daemon_routes(char *text, pci_irq_route_entry (&table)[kRouteTableEntries]);

// Reads the text of /proc/zytpci; the text before the '(' does not matter. As fscanf has it, an entry may
// run over the end of a line, and a line may hold several.
int read_proc_routes(FILE *file, pci_irq_route_entry (&table)[kRouteTableEntries]);
