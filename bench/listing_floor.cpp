// Asks the driver for every entry of the log, as orvlog -v does, and writes listing_floor's argument in
// bytes.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "orvlog/channel.h"

int main(int argc, char **argv) {
  long bytes = argc > 1 ? strtol(argv[1], nullptr, 10) : 0;
  const long entries = argc > 2 ? strtol(argv[2], nullptr, 10) : 1;
  const long share = bytes / entries;
  Get_Qm_100_Series();
  do_init();
  const Channel node(kNodeEvents, kOpenRead);
  char line[4096];
  memset(line, '.', sizeof line);
  union {
    _ioctlEntry request;
    char bytes[512];
  } buffer;
  for (int number = 0;; ++number) {
    memset(&buffer, 0, sizeof buffer);
    buffer.request.info.length = sizeof buffer;
    buffer.request.info.choice = kChoiceRead;
    buffer.request.info.EvtNumber = number;
    buffer.request.Evt.Hdr.wEvtLength = 284;
    const int status = node.request(kRequestEventEntry, &buffer.request, sizeof buffer.request);
    if (status != kEventRead && status != kEventNoEntry) {
      break;
    }
    if (status == kEventRead) {
      bytes -= static_cast<long>(fwrite(line, 1, static_cast<size_t>(share), stdout));
    }
  }
  while (bytes > 0) {
    bytes -= static_cast<long>(fwrite(line, 1, static_cast<size_t>(bytes < 4096 ? bytes : 4096), stdout));
  }
  return fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
