// The exit statuses of imlog, and what the help says about them.
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

struct StatusRow {
  int status;
  const char *meaning;
};

inline constexpr StatusRow kExitStatuses[] = {
    {kSuccess, "the log was read and printed"},
    {kFailure, "failure"},
    {kWrongUsage, "wrong usage"},
};

inline constexpr StatusRow kCheckStatuses[] = {
    {kCheckOk, "ok"},
    {kCheckWarning, "caution"},
    {kCheckCritical, "critical"},
    {kCheckUnknown, "unknown or wrong usage"},
};
