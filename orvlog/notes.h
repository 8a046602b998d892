// Maintenance notes.
#pragma once

#include <cstdint>

// set_severity's result for a word that names no severity.
inline constexpr int kNoSeverity = 255;

// The severity code (EvtSeverity) of a word in upper, lower or mixed case, or kNoSeverity. Lower-cases the
// word in place.
int set_severity(char *Severity);

// Returns 1, after a message to standard error, when a note holds a '*', which notes must not contain.
// Returns 0 otherwise.
int16_t asterisk_found(const char *str);

// Adds a note of at most 200 bytes to the log. Returns 1 when the request was issued, even if the driver
// refused it, and 0 when it could not be issued. Failures are reported on standard error.
int log_maintenance_note(const char *str, int severity);
