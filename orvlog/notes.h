// Maintenance notes.
#pragma once

#include <cstdint>

/// What set_severity returns for a word that names no severity.
inline constexpr int kNoSeverity = 255;

/// The severity code (EvtSeverity) of a word, compared without regard to case after lower-casing it in place;
/// kNoSeverity for any other word.
int set_severity(char *Severity);

/// Whether a note holds a '*', which the log does not take;
/// if so, it is said on standard error. Returns 1 or 0.
int16_t asterisk_found(const char *str);

/// Adds a note to the log, as long as the 200 characters that the command
/// line allows. Returns 1 when the request was issued, whatever the driver
/// answered (a failure is said on standard error), 0 when it could not be.
int log_maintenance_note(const char *str, int severity);
