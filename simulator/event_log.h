// The log: a plain file of 240-byte slots, one record each. README.md says how slots are numbered.
#pragma once

#include "platform/health_driver.h"

namespace simulator {

/// Answers a read (kChoiceRead) of the open log. Returns an EventStatus, or -1 with errno.
int read_entry(int log, PEVT_IOCTL_ENTRY request);

/// Carries out an add (kChoiceAdd). The record is on the disk when this returns 0; returns -1 with errno
/// otherwise, and the log is then as before. `log` needs a descriptor of its own and to be writable: the lock
/// that keeps writers apart belongs to the open file, which a forked process shares with its parent.
int add_entry(int log, const _ioctlEntry *request);

}  // namespace simulator
