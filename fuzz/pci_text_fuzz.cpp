// Reads any bytes with both readers of routing texts. They must end, stay inside the text and the table, and
// keep to the texts' limits.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "pci/route_text.h"
#include "platform/health_driver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string text(reinterpret_cast<const char *>(data), size < kReportSize ? size : kReportSize);
  pci_irq_route_entry table[kRouteTableEntries] = {};
  const int from_daemon = read_daemon_routes(text.data(), table);
  if (from_daemon > kRouteTableEntries || (from_daemon < 0 && size > 0 && data[0] == '(')) {
    abort();
  }

  if (size == 0) {
    return 0;
  }
  std::string bytes(reinterpret_cast<const char *>(data), size);
  FILE *file = fmemopen(bytes.data(), size, "r");
  const int from_file = read_proc_routes(file, table);
  if (from_file < 0 || from_file > kRouteTableEntries) {
    abort();
  }
  fclose(file);
  return 0;
}
