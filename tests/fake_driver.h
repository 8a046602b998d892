// Stands in for the closed libraries in the test's own process: scripted, and traced call by call.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "orvlog/orvlog.h"

// What the driver and the firmware answer; a test sets what it needs before it runs the program. Each call
// leaves a line in the trace: "open cdt 2", "ioctl cdt 69 22 5002 15", "close cdt", "get_ev
// VXHCPR 8".
struct FakeDriver {
  std::map<std::string, int> opens = {};  // how often a node opens; not listed: always
  uint8_t controller = 0;                 // ucDeviceID
  int controller_status = 0;
  uint8_t has_log = 2;  // ucDataAvailable
  int log_status = 0;
  std::function<int(_ioctlEntry &request)> event = [](_ioctlEntry &) { return 1; };
  bool traces_events = true;
  int asr_state = 1;
  int asr_status = 0;
  std::string report = "%s%n";
  int report_status = 0;
  ASREVSTRUCT variable = {1, 2, 15, 4, 0x0605, 0x0807};
  int get_status = 0;  // a read that fails leaves 0 as the variable's size
  int set_status = 0;
  std::function<void()> prepare = [] {};  // runs in the child before the program
};

// The driver of the current test.
FakeDriver &fake_driver();

// While set, calloc has no memory.
extern bool fail_calloc;

// While set, closing a stream fails for want of space.
extern bool fail_fclose;

// Where the trace goes.
extern int trace_fd;

// Bytes in hexadecimal.
std::string to_hex(const void *bytes, size_t size);
