// Stand-in for liborvev64.so.1: firmware variables, one file each in directory "ev" of the server's
// directory.
#include "platform/orvev64.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <sys/stat.h>

#include "simulator/server_directory.h"
#include "util/file.h"
#include "util/ownership.h"

using simulator::fail;

namespace {

constexpr char kVariableDirectory[] = "ev";

// A name that begins with a full stop is the temporary file of a variable being written.
bool is_variable_name(const char *name) {
  return *name != '\0' && *name != '.' && strchr(name, '/') == nullptr;
}

// Checks the arguments of both calls. Returns the directory's descriptor, or -1.
int open_directory(const char *name, const void *buffer, const int *size) {
  if (name == nullptr || buffer == nullptr || size == nullptr) {
    return fail(EFAULT);
  }
  if (!is_variable_name(name) || *size <= 0) {
    return fail(EINVAL);
  }
  return simulator::open_in_server(kVariableDirectory, S_IFDIR);
}

}  // namespace

extern "C" {

// Sets *size to the variable's size. A variable that does not fit leaves the buffer unchanged.
[[gnu::visibility("default")]] int get_ev(const char *name, void *buffer, int *size) {
  const Descriptor directory(open_directory(name, buffer, size));
  if (!directory.is_open()) {
    return -1;
  }
  const Descriptor variable(simulator::open_in_directory(directory.fd(), name));
  struct stat status;
  if (!variable.is_open() || fstat(variable.fd(), &status) < 0) {
    return -1;
  }
  if (status.st_size == 0 || status.st_size > INT_MAX) {
    return fail(EIO);
  }
  const int stored = static_cast<int>(status.st_size);
  if (stored > *size) {
    *size = stored;
    return fail(ERANGE);
  }
  const ssize_t got = read_at(variable.fd(), buffer, static_cast<size_t>(stored), 0);
  if (got != stored) {
    return got < 0 ? -1 : fail(EIO);
  }
  *size = stored;
  return 0;
}

[[gnu::visibility("default")]] int set_ev(const char *name, void *buffer, int *size) {
  const Descriptor directory(open_directory(name, buffer, size));
  return directory.is_open()
             ? simulator::replace_file(directory.fd(), name, buffer, static_cast<size_t>(*size))
             : -1;
}

}  // extern "C"
