// The Automatic Server Recovery (ASR) watchdog, presented as
// the IPMI watchdog where the controller is of that kind.
#pragma once

/// Carries out the sub-option of -a: STATUS, ENABLE, DISABLE or TIMEOUT=<minutes>. Every failure is said on
/// standard error or, where the driver cannot be reached, shows as a disabled watchdog.
void ControlASR(const char *option);
