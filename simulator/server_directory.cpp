#include "simulator/server_directory.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "util/ownership.h"

namespace simulator {
namespace {

// O_NONBLOCK, since opening a named pipe would otherwise wait for its other end.
int open_kind(int folder, const char *name, Kind kind, int flags) {
  Descriptor opened(openat(folder, name, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!opened.is_open()) {
    return -1;
  }
  struct stat status;
  if (fstat(opened.fd(), &status) < 0) {
    return -1;
  }
  const bool is_right = kind == Kind::kFolder ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode);
  return is_right ? opened.release() : fail(EINVAL);
}

int write_all(int fd, const void *data, size_t size) {
  const char *position = static_cast<const char *>(data);
  while (size > 0) {
    const ssize_t written = write(fd, position, size);
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return written < 0 ? -1 : fail(EIO);
    }
    position += written;
    size -= static_cast<size_t>(written);
  }
  return 0;
}

}  // namespace

int open_in_server(const char *name, Kind kind, int flags) {
  const char *directory = secure_getenv(kServerVariable);
  if (directory == nullptr || *directory == '\0') {
    return fail(ENOENT);
  }
  const Descriptor server(open_kind(AT_FDCWD, directory, Kind::kFolder, O_RDONLY));
  return server.is_open() ? open_kind(server.fd(), name, kind, flags | O_NOFOLLOW) : -1;
}

int open_in_folder(int folder, const char *name) {
  return open_kind(folder, name, Kind::kFile, O_RDONLY | O_NOFOLLOW);
}

ssize_t read_at(int fd, void *buffer, size_t size, off_t offset) {
  size_t done = 0;
  while (done < size) {
    const ssize_t got =
        pread(fd, static_cast<char *>(buffer) + done, size - done, offset + static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      return -1;
    }
    if (got == 0) {
      break;
    }
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

int replace_file(int folder, const char *name, const void *data, size_t size) {
  char draft[NAME_MAX + 1];
  const int length = snprintf(draft, sizeof(draft), ".%s.draft", name);
  if (length < 0 || static_cast<size_t>(length) >= sizeof(draft)) {
    return fail(ENAMETOOLONG);
  }
  // The folder is opened again: a lock belongs to the open file, which a forked process shares with its
  // parent.
  const Descriptor locked(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!locked.is_open() || lock(locked.fd()) < 0) {
    return -1;
  }
  unlinkat(folder, draft, 0);  // left by a writer that was killed
  const Descriptor file(openat(folder, draft, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!file.is_open()) {
    return -1;
  }
  if (write_all(file.fd(), data, size) == 0 && fsync(file.fd()) == 0 &&
      renameat(folder, draft, folder, name) == 0) {
    return fsync(folder);
  }
  const int error = errno;
  unlinkat(folder, draft, 0);
  return fail(error);
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
