#include "simulator/server_directory.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "util/file.h"
#include "util/ownership.h"

namespace simulator {
namespace {

// O_NONBLOCK, since opening a named pipe would otherwise wait for its other end.
int open_kind(int directory, const char *name, mode_t kind, int flags = O_NOFOLLOW) {
  Descriptor opened(openat(directory, name, flags | O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status;
  if (!opened.is_open() || fstat(opened.fd(), &status) < 0) {
    return -1;
  }
  return (status.st_mode & S_IFMT) == kind ? opened.release() : fail(EINVAL);
}

}  // namespace

int open_in_server(const char *name, mode_t kind) {
  const char *directory = secure_getenv(kServerVariable);
  if (directory == nullptr || *directory == '\0') {
    return fail(ENOENT);
  }
  const Descriptor server(open_kind(AT_FDCWD, directory, S_IFDIR, 0));
  return server.is_open() ? open_kind(server.fd(), name, kind) : -1;
}

int open_in_directory(int directory, const char *name) {
  return open_kind(directory, name, S_IFREG);
}

int replace_file(int directory, const char *name, const void *data, size_t size) {
  char temporary[NAME_MAX + 1];
  const int length = snprintf(temporary, sizeof(temporary), ".%s.tmp", name);
  if (length < 0 || static_cast<size_t>(length) >= sizeof(temporary)) {
    return fail(ENAMETOOLONG);
  }
  // The directory is opened again: a lock belongs to the open file, which a forked process shares with its
  // parent.
  const Descriptor locked(openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!locked.is_open() || lock(locked.fd()) < 0 ||
      !write_temporary(directory, temporary, {static_cast<const char *>(data), size}, 0644)) {
    return -1;
  }
  if (renameat(directory, temporary, directory, name) != 0) {
    const int error = errno;
    unlinkat(directory, temporary, 0);
    return fail(error);
  }
  return sync_directory(directory) ? 0 : -1;
}

int lock(int fd) {
  int result;
  do {
    result = flock(fd, LOCK_EX);
  } while (result < 0 && errno == EINTR);
  return result;
}

int fail(int error) {
  errno = error;
  return -1;
}

}  // namespace simulator
