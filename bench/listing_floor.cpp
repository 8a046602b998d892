// The cost of a listing apart from its text: listing_floor BYTES ENTRIES asks the driver for every entry of
// the log, as orvlog -v does, and writes BYTES bytes in as many pieces as the log has ENTRIES.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "driver/channel.h"
#include "orvlog/probe.h"
#include "platform/health_driver.h"

int main(int argc, char **argv) {
  char piece[4096];
  long bytes = argc == 3 ? strtol(argv[1], nullptr, 10) : 0;
  const long entries = argc == 3 ? strtol(argv[2], nullptr, 10) : 0;
  if (bytes <= 0 || entries <= 0 || bytes / entries > static_cast<long>(sizeof piece)) {
    fprintf(stderr, "usage: listing_floor BYTES ENTRIES\n");
    return EXIT_FAILURE;
  }
  memset(piece, '.', sizeof piece);
  const auto write = [&](long size) {
    bytes -= static_cast<long>(fwrite(piece, 1, static_cast<size_t>(size), stdout));
  };

  Get_Qm_100_Series();
  do_init();
  const Channel node(kNodeEvents, kOpenRead);
  char buffer[kReadLength];
  auto *const request = reinterpret_cast<_ioctlEntry *>(buffer);
  const long share = bytes / entries;
  for (int number = 0;; ++number) {
    memset(buffer, 0, sizeof buffer);
    request->info.length = kReadLength;
    request->info.choice = kChoiceRead;
    request->info.EvtNumber = number;
    request->Evt.Hdr.wEvtLength = kReadEvtLength;
    const int status = node.request(kRequestEventEntry, request, sizeof *request);
    if (status == kEventRead) {
      write(share);
    } else if (status != kEventNoEntry) {
      break;
    }
  }
  for (long left = bytes; left > 0; left -= static_cast<long>(sizeof piece)) {
    write(left < static_cast<long>(sizeof piece) ? left : static_cast<long>(sizeof piece));
  }
  return fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
