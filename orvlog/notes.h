// Maintenance notes.
#pragma once

#include <cstdint>

// What set_severity returns for a word that names no severity.
inline constexpr int kNoSeverity = 255;

// The severity code (EvtSeverity) that a word names in any case, or kNoSeverity. Lower-cases the word in
// place.
int set_severity(char *Severity);

// Returns 1, after a message to standard error, when a note holds a '*', which the log does not take; else 0.
int16_t asterisk_found(const char *str);

// Adds a note of at most 200 characters to the log. Returns 1 when the request was issued, whatever the
// driver answered, and 0 when it could not be issued. Failures are reported on standard error.
int log_maintenance_note(const char *str, int severity);
