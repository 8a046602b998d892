// The reports that the health driver formats itself.
#pragma once

#include <optional>

#include "platform/health_driver.h"

// A report, and a terminator after it: the driver may fill all of kReportSize.
using ReportText = char[kReportSize + 1];

// Reads report `number` (ReportRequest). Returns what the request returned, or nothing, with `text` empty, if
// the node cannot be opened.
std::optional<int> read_report(unsigned int number, ReportText &text);
