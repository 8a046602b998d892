// The directory that describes the simulated server, and the few ways in which its files are read and
// replaced. Failures set errno; nothing here blocks on a file of an unexpected kind.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace simulator {

/// Names the directory. Without it there is no server.
inline constexpr char kServerVariable[] = "ORVLOG_SIMULATOR";

/// A descriptor that is closed at the end of its scope; negative when opening failed.
class File {
 public:
  explicit File(int fd) : fd_(fd) {}
  ~File();
  File(const File &) = delete;
  File &operator=(const File &) = delete;
  [[nodiscard]] bool is_open() const {
    return fd_ >= 0;
  }
  [[nodiscard]] int fd() const {
    return fd_;
  }

 private:
  int fd_;
};

enum class Kind { kFile, kFolder };

/// Opens `name` in the server's directory with the flags of open(2). Returns a descriptor, or -1: ENOENT when
/// there is no server or no such name, EINVAL when it is not of the wanted kind.
int open_in_server(const char *name, Kind kind, int flags);

/// Opens file `name` of an open folder for reading. As above.
int open_in_folder(int folder, const char *name);

/// Reads from `offset` until `size` bytes or the end of the file. Returns the number of bytes, or -1.
ssize_t read_at(int fd, void *buffer, size_t size, off_t offset);

/// Puts `size` bytes in the place of file `name` of an open folder: at any moment, also after a power loss,
/// the file holds either its old content or the new. Returns 0, or -1.
int replace_file(int folder, const char *name, const void *data, size_t size);

/// Sets errno. Returns -1.
int fail(int error);

}  // namespace simulator
