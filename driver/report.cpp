#include "driver/report.h"

#include <cstring>

#include "driver/channel.h"

std::optional<int> read_report(unsigned int number, ReportText &text) {
  memset(text, 0, sizeof(text));
  const Channel node(kNodeReports, kOpenRead);
  if (!node.is_open()) {
    return std::nullopt;
  }
  return node.request(number, text, kReportRequestLength);
}
