// The Automatic Server Recovery (ASR) watchdog, called the IPMI watchdog where the controller is of that
// kind.
#pragma once

// Carries out the sub-option of -a: STATUS, ENABLE, DISABLE or TIMEOUT=<minutes>. Failures are reported on
// standard error; when the driver cannot be reached, the watchdog is shown as disabled.
void ControlASR(const char *option);
