#include "simulator/server_directory.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulator {
namespace {

// O_NONBLOCK: a named pipe in the place of a file must not hold the caller.
int open_kind(int folder, const char *name, Kind kind, int flags) {
  const int fd = openat(folder, name, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) {
    return -1;
  }
  struct stat status;
  if (fstat(fd, &status) == 0 &&
      (kind == Kind::kFolder ? S_ISDIR(status.st_mode) : S_ISREG(status.st_mode))) {
    return fd;
  }
  close(fd);
  return fail(EINVAL);
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

File::~File() {
  if (fd_ >= 0) {
    const int error = errno;
    close(fd_);
    errno = error;
  }
}

int open_in_server(const char *name, Kind kind, int flags) {
  const char *directory = secure_getenv(kServerVariable);
  if (directory == nullptr || *directory == '\0') {
    return fail(ENOENT);
  }
  const File server(open_kind(AT_FDCWD, directory, Kind::kFolder, O_RDONLY));
  return server.is_open() ? open_kind(server.fd(), name, kind, flags) : -1;
}

int open_in_folder(int folder, const char *name) {
  return open_kind(folder, name, Kind::kFile, O_RDONLY);
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
  const int length = snprintf(draft, sizeof draft, ".%s.%d", name, static_cast<int>(getpid()));
  if (length < 0 || static_cast<size_t>(length) >= sizeof draft) {
    return fail(ENAMETOOLONG);
  }
  {
    const File file(
        openat(folder, draft, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644));
    if (!file.is_open()) {
      return -1;
    }
    if (write_all(file.fd(), data, size) == 0 && fsync(file.fd()) == 0 &&
        renameat(folder, draft, folder, name) == 0) {
      return fsync(folder);
    }
  }
  const int error = errno;
  unlinkat(folder, draft, 0);
  return fail(error);
}

int fail(int error) {
  errno = error;
  return -1;
}

}  // namespace simulator
