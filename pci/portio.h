// x86 I/O ports. A library of its own, so that tests link a stand-in that records and answers.
#pragma once

#include <cstdint>

// Raises the process's I/O privilege level to 3. Returns 0, or -1 with errno set.
int raise_io_privilege();

// Reads `size` bytes (1, 2 or 4) from `port`. The privilege must have been raised.
uint32_t port_in(uint16_t port, unsigned size);

// Writes the low `size` bytes (1, 2 or 4) of `value` to `port`. The privilege must have been raised.
void port_out(uint16_t port, unsigned size, uint32_t value);
