// Standard output, messages and the end of the run.
#pragma once

#include <string_view>

// Writes to standard output as printf does. Returns whether every write of the run has succeeded so far;
// finish() reports the first failure.
[[gnu::format(printf, 1, 2)]] bool print_out(const char *format, ...);

// Writes a text to standard output, with the result of print_out.
bool write_out(std::string_view text);

// Writes a message to standard error. Flushes standard output first, so that a message never precedes the
// output it refers to.
[[gnu::format(printf, 1, 2)]] void print_err(const char *format, ...);

// The messages that listings and notes share.
void report_closed_event_node();
void report_no_memory();

// Flushes standard output.
void flush_output();

// Closes standard output and ends the process with `status`. Reports on standard error if a write failed.
[[noreturn]] void finish(int status);
