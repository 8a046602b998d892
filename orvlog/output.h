// Standard output and the end of the run.
#pragma once

/// Writes to standard output as printf does. The reason of the first write that fails is kept for finish().
[[gnu::format(printf, 1, 2)]] void print_out(const char *format, ...);

/// Writes a message to standard error, behind all that standard output has been given so far: where both go
/// the same way, a message follows what it is about.
[[gnu::format(printf, 1, 2)]] void print_err(const char *format, ...);

/// Hands over what standard output still buffers, so that a failure is noticed with its reason.
void flush_output();

/// Ends the process with `status`, after a message to standard error if standard output could not be written.
[[noreturn]] void finish(int status);
