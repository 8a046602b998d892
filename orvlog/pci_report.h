#pragma once

// Prints the PCI interrupt routing table on standard output: a heading, at most 50 entries, and an empty
// line. Where no source has a table, a message on standard error says so.
void print_pci_data();
