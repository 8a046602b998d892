// The listing of the Integrated Management Log.
#pragma once

#include <cstdint>

/// Name of a severity code as the listing shows it, "Unknown" for a code without one.
const char *GetSeverity(uint8_t b_Severity);

/// The number of entry numbers before the end of the log, gaps included; 0 on failure.
int GetTotalIMLEntries();

/// Lists the log from entry number `offset` on, which is checked against the log's size when `c` is 'V' ('v'
/// lists the whole log from 0). Returns 1 when the log was walked, also when it is empty; 0 when it could not
/// be or the start was refused.
int view_entire_log(char c, uint32_t offset);
