#include "orvlog/output.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int write_error = 0;  // errno of the first write that failed

void note_failure() {
  if (write_error == 0) {
    write_error = errno != 0 ? errno : EIO;
  }
}

}  // namespace

bool print_out(const char *format, ...) {
  va_list args;
  va_start(args, format);
  if (vprintf(format, args) < 0) {
    note_failure();
  }
  va_end(args);
  return write_error == 0;
}

bool write_out(std::string_view text) {
  if (fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
    note_failure();
  }
  return write_error == 0;
}

void print_err(const char *format, ...) {
  flush_output();
  va_list args;
  va_start(args, format);
  vfprintf(stderr, format, args);
  va_end(args);
}

void report_closed_event_node() {
  print_err("orvlog: Unable to open the /dev/zythealth/cevt file.\n");
}

void report_no_memory() {
  print_err("orvlog: Unable to allocate memory to log message.\n");
}

void flush_output() {
  if (fflush(stdout) != 0) {
    note_failure();
  }
}

void finish(int status) {
  flush_output();
  if (fclose(stdout) != 0) {  // some file systems report a full disk only here
    note_failure();
  }
  if (write_error != 0) {
    fprintf(stderr, "orvlog: Cannot write standard output: %s\n", strerror(write_error));
  }
  exit(status);
}
