#include "orvlog/watchdog.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "driver/channel.h"
#include "orvlog/orvlog.h"
#include "orvlog/output.h"
#include "orvlog/probe.h"
#include "orvlog/usage.h"
#include "platform/orvev64.h"

namespace {

constexpr char kTimeoutPrefix[] = "TIMEOUT=";

// Bit n is set when a timeout of n minutes is allowed.
constexpr uint32_t kAllowedTimeouts = 1U << 5 | 1U << 10 | 1U << 15 | 1U << 20 | 1U << 30;

bool is_allowed_timeout(uint32_t minutes) {
  return minutes <= 30 && (kAllowedTimeouts >> minutes & 1) != 0;
}

// Issues one request on the ASR node. Returns whether it succeeded; failures are not reported.
bool request_asr(unsigned int code, void *buffer, unsigned int length) {
  const Channel node(kNodeAsr, kOpenRead);
  return node.is_open() && node.request(code, buffer, length) == 0;
}

// Writes the timeout into the firmware variable, whose other bytes stay as they were read.
void set_timeout(ASREVSTRUCT &AsrEvStruct, uint32_t minutes) {
  print_out(non_Brix != 0 ? "Setting IPMI Watchdog timer to %d\n" : "Setting ASR timer to %d\n",
            static_cast<int>(minutes));
  AsrEvStruct.ucTimeoutValue = static_cast<uint8_t>(minutes);
  // The size is reset, since a failed read may have changed it.
  int nbytes = sizeof(AsrEvStruct);
  if (set_ev(kAsrVariable, &AsrEvStruct, &nbytes) != 0) {
    print_err(non_Brix != 0 ? "orvlog: Set IPMI Watchdog Timeout failed\n"
                            : "orvlog: Set ASR Timeout failed\n");
  }
}

}  // namespace

void ControlASR(const char *option) {
  int32_t curstat = 0;
  if (!request_asr(kRequestAsrState, &curstat, sizeof(curstat))) {
    curstat = 0;  // a failed request may have changed it
  }
  ASREVSTRUCT AsrEvStruct = {};
  int nbytes = sizeof(AsrEvStruct);
  get_ev(kAsrVariable, &AsrEvStruct, &nbytes);

  if (strcmp(option, "STATUS") == 0) {
    print_out(non_Brix != 0 ? "Current IPMI WatchDog Timer  Status is %s and the timeout value is %d\n"
                            : "Current ASR Status is %s and the timeout value is %d\n",
              curstat != 0 ? "ENABLED" : "DISABLED", AsrEvStruct.ucTimeoutValue);
  } else if (strcmp(option, "ENABLE") == 0) {
    print_out(non_Brix != 0 ? "Enabling IPMI Watchdog  timer\n" : "Enabling ASR timer\n");
    request_asr(kRequestEnableAsr, nullptr, 0);
  } else if (strcmp(option, "DISABLE") == 0) {
    print_out(non_Brix != 0 ? "Disabling IPMI Watchdog timer\n" : "Disabling ASR timer\n");
    request_asr(kRequestDisableAsr, nullptr, 0);
  } else if (strstr(option, kTimeoutPrefix) != nullptr) {
    if (curstat != 1) {
      print_err(non_Brix != 0 ? "ERROR: IPMI Watchdog status is currently disabled.\n"
                                "IPMI Watchdog must be enabled before setting timeout value.\n"
                              : "ERROR: ASR status is currently disabled.\n"
                                "ASR must be enabled before setting timeout value.\n");
      return;
    }
    // The number is read from the ninth character on, even where the prefix starts later. It is parsed in the
    // widest type and narrowed on purpose.
    const auto minutes = static_cast<uint32_t>(strtol(option + strlen(kTimeoutPrefix), nullptr, 10));
    if (is_allowed_timeout(minutes)) {
      set_timeout(AsrEvStruct, minutes);
    } else {
      print_err("val must be 5, 10, 15, 20 or 30 minutes.\n");
      print_usage("orvlog");
    }
  } else {
    print_err("Invalid -a option %s\n", option);
    print_usage("orvlog");
  }
}
