#pragma once

/// Writes the usage text to standard error, with `progname` in its first line. It speaks of the IPMI watchdog
/// once the probe has found a controller of that kind, of ASR otherwise.
void print_usage(const char *progname);
