// The exit statuses of imlog.
#pragma once

// Of every format but check.
enum ExitStatus {
  kSuccess = 0,     // the log was read to its end, and the output written
  kWrongUsage = 1,  // the command line is wrong
  kFailure = 2,     // the log, the output or the cursor failed
};

// Of `-o check`, as monitoring systems read them. No other format ends with the last one.
enum CheckStatus {
  kCheckOk = 0,        // no caution entry and no critical one
  kCheckWarning = 1,   // a caution entry
  kCheckCritical = 2,  // a critical entry
  kCheckUnknown = 3,   // the check could not be made
};
