// The Automatic Server Recovery (ASR) watchdog, called the IPMI watchdog where the controller is of that
// kind.
#pragma once

// Carries out the sub-option of -a: STATUS, ENABLE, DISABLE or TIMEOUT=<minutes>. Failures are reported on
// standard error; a driver that cannot be reached shows as a disabled watchdog.
void ControlASR(const char *option);
