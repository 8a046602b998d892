// Stands in for the closed libraries in the test's own process: scripted, and traced call by call.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "orvlog/orvlog.h"

// The answers of the driver and the firmware; a test sets what it needs.
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

// Each call on a node or variable leaves a line in the trace: "open cdt 2", "ioctl cdt 69 22 5002 15", "close
// cdt", "get_ev VXHCPR 8". A request for an event that is malformed is traced even where events are not.
extern const int trace_fd;

// Returns what was written to a file in memory, and empties it.
std::string take(int fd = trace_fd);

// Bytes in hexadecimal.
std::string to_hex(const void *bytes, size_t size);
