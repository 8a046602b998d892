#pragma once

// Writes the usage text to standard error, with `progname` in its first line. The text names the IPMI
// watchdog once the probe has found a controller of that kind, and ASR otherwise.
void print_usage(const char *progname);
