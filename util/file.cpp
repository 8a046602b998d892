#include "util/file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "util/ownership.h"

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

bool write_all(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = write(fd, content.data(), content.size());
    if (written > 0) {
      content.remove_prefix(static_cast<size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      errno = written == 0 ? EIO : errno;
      return false;
    }
  }
  return true;
}

bool write_temporary(int directory, const char *temporary, std::string_view content, mode_t mode) {
  unlinkat(directory, temporary, 0);
  Descriptor file(openat(directory, temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (file.is_open() && write_all(file.fd(), content) && fsync(file.fd()) == 0 && file.close() == 0) {
    return true;
  }
  const int error = errno;
  unlinkat(directory, temporary, 0);
  errno = error;
  return false;
}

bool sync_directory(int directory) {
  return fsync(directory) == 0 || errno == EINVAL;
}
