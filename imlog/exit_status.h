// The exit statuses of imlog.
#pragma once

// Of every format but check.
enum ExitStatus {
  kSuccess = 0,
  kFailure = 2,     // of the log, the output or the cursor
  kWrongUsage = 3,  // which a monitor takes for unknown, whatever the format
};

// Of `-o check`, as monitoring systems read them. Only a check ends with kCheckUnknown.
enum CheckStatus {
  kCheckOk = 0,
  kCheckWarning = 1,
  kCheckCritical = 2,
  kCheckUnknown = 3,
};
