// Stands in for the closed libraries in the test's own process: scripted, and traced call by call.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "orvlog/orvlog.h"

/// What the driver answers; a test sets what it needs before it runs the program. Each call leaves a line in
/// the trace of capture(): "open cdt 2", "ioctl cdt 69 22", "close cdt", "get_ev VXHCPR 8".
struct FakeDriver {
  std::map<std::string, int> open_errors;  // node name ("cevt") to the errno of its opening

  std::function<int(uint16_t type, void *data, uint32_t size)> data_table = [](uint16_t, void *, uint32_t) {
    return 0;
  };
  std::function<int(_ioctlEntry &request)> event = [](_ioctlEntry &) { return 1; };
  bool traces_requests = true;
  int asr_state = 1;
  std::function<int(unsigned code, char *text)> report = [](unsigned, char *) { return 0; };
  std::function<int(ASREVSTRUCT &value, int &size)> get_variable = [](ASREVSTRUCT &, int &) { return 0; };
  std::function<int(const ASREVSTRUCT &value, int size)> set_variable = [](const ASREVSTRUCT &, int) {
    return 0;
  };
};

/// The driver of the current test.
FakeDriver &fake_driver();

/// While set, calloc has no memory.
extern bool fail_calloc;

/// A record of the request, as hexadecimal bytes, goes to the trace.
void trace_bytes(const char *name, const void *bytes, size_t size);
