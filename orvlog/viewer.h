// The listing of the Integrated Management Log.
#pragma once

#include <cstdint>

// Name of a severity code as the listing shows it, "Unknown" for a code without one.
const char *GetSeverity(uint8_t b_Severity);

// The number of entry numbers before the end of the log, gaps included, whatever numbers the records carry.
// Returns 0 on failure, and also when the log does not end within a million numbers.
int GetTotalIMLEntries();

// Lists the log from entry number `offset` on. When `c` is 'V', a start beyond the counted entries is
// refused; 'v' lists the whole log from 0. Returns 1 when the log was walked, also when it is empty; 0 when
// it could not be opened or the start was refused.
int view_entire_log(char c, uint32_t offset);
