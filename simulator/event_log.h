// The log: a file of 240-byte slots, one record each. README.md says how slots are numbered.
#pragma once

#include "platform/health_driver.h"

namespace simulator {

// Answers a read (kChoiceRead) of the open log. Returns an EventStatus, or -1 with errno.
int read_entry(int log, PEVT_IOCTL_ENTRY request);

// Carries out an add (kChoiceAdd). Returns 0 when the record is on the disk. Otherwise returns -1 with errno,
// and the log is unchanged. `log` is writable and opened for this call alone: the writers' lock belongs to
// the open file, which a forked process shares with its parent.
int add_entry(int log, const _ioctlEntry *request);

}  // namespace simulator
