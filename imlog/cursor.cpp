#include "imlog/cursor.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "imlog/output.h"
#include "util/file.h"

namespace {

// Hundreds of times the largest log.
constexpr off_t kLargestCursor = off_t{1} << 30;

// False when `path` names something other than a regular file: opening a device can have effects. Then errno
// is 0, or ELOOP for a symbolic link.
bool may_open(const char *path) {
  struct stat status = {};
  if (lstat(path, &status) != 0 || S_ISREG(status.st_mode)) {
    return true;
  }
  errno = S_ISLNK(status.st_mode) ? ELOOP : 0;
  return false;
}

bool is_output(const std::string &path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && is_standard_output(status);
}

// Opens a file that may_open() allows. The result is negative if that fails, or if another kind of file has
// taken its place since then; errno is as may_open() sets it.
int open_regular(const char *path, int flags, struct stat &status) {
  const int fd = open(path, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
  if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
    close(fd);
    errno = 0;
    return -1;
  }
  return fd;
}

}  // namespace

Problem Cursor::open(const char *path, History &history) {
  path_ = path;
  temporary_ = path_ + ".imlog-tmp";
  for (const std::string &name : {path_, temporary_}) {
    if (is_output(name)) {  // what is printed would be replaced or removed
      return Problem("the cursor is also the output").advise("write to another file than '%s'", name.c_str());
    }
  }
  if (!may_open(path)) {  // before a lock file is made next to it
    return refuse_kind(errno == ELOOP ? "is a symbolic link" : "is not a regular file");
  }
  Problem problem = lock();
  if (problem.is_set()) {
    return problem;
  }
  unlink(temporary_.c_str());
  return load(history);
}

Problem Cursor::lock() {
  const std::string name = path_ + ".lock";
  struct stat status = {};
  // NFS locks only what is open for writing.
  lock_.emplace(may_open(name.c_str()) ? open_regular(name.c_str(), O_RDWR | O_CREAT, status) : -1);
  if (!lock_->is_open()) {
    return Problem("cannot lock the cursor: %s", errno != 0 ? strerror(errno) : "not a regular file")
        .advise("check that '%s' is a file, or can be made, where you may write", name.c_str());
  }
  if (flock(lock_->fd(), LOCK_EX | LOCK_NB) != 0) {
    return Problem("cannot lock the cursor: %s",
                   errno == EWOULDBLOCK ? "another run uses it" : strerror(errno))
        .advise("wait until nothing uses '%s', or name another cursor", path_.c_str());
  }
  return {};
}

Problem Cursor::load(History &history) {
  struct stat status = {};
  const Descriptor file(open_regular(path_.c_str(), O_RDONLY, status));
  if (!file.is_open()) {
    if (errno == ENOENT) {
      return {};
    }
    return errno == 0 || errno == ELOOP
               ? refuse_kind("is not a regular file")
               : Problem("cannot read the cursor: %s", strerror(errno))
                     .advise("check that you may read '%s', or name another cursor", path_.c_str());
  }
  if (status.st_size > kLargestCursor) {
    return refuse("is damaged");
  }
  std::string text(static_cast<size_t>(status.st_size), '\0');
  const ssize_t length = read_at(file.fd(), text.data(), text.size(), 0);
  if (length < 0) {
    return Problem("cannot read the cursor: %s", strerror(errno))
        .advise("check the disk of '%s', or name another cursor", path_.c_str());
  }
  text.resize(static_cast<size_t>(length));  // it may have been truncated meanwhile
  const char *const fault = history.parse(text);
  exists_ = true;
  return fault != nullptr ? refuse(fault) : Problem();
}

// Does not advise to move the file away: it may be a device.
Problem Cursor::refuse_kind(const char *fault) const {
  return Problem("the cursor %s", fault).advise("name a regular file in place of '%s'", path_.c_str());
}

Problem Cursor::refuse(const char *fault) const {
  return Problem("the cursor %s", fault)
      .advise("move '%s' away to have all entries printed as new, or name another cursor", path_.c_str());
}

Problem Cursor::write_temporary(const History &history) {
  const size_t slash = path_.rfind('/');
  const std::string directory_name = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
  directory_.emplace(::open(directory_name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory_->is_open() && ::write_temporary(AT_FDCWD, temporary_.c_str(), history.text(), 0600)) {
    return {};
  }
  const int error = errno;
  directory_.reset();
  return Problem("cannot write the cursor: %s", strerror(error))
      .advise("check the disk and the directory of '%s'; what is new was not printed", path_.c_str());
}

Problem Cursor::commit() {
  if (!directory_) {
    return {};
  }
  if (rename(temporary_.c_str(), path_.c_str()) != 0) {
    return Problem("cannot replace the cursor: %s", strerror(errno))
        .advise("check the directory of '%s'; the next run repeats what this one printed", path_.c_str());
  }
  exists_ = true;
  const int error = sync_directory(directory_->fd()) ? 0 : errno;
  directory_.reset();
  return error == 0
             ? Problem()
             : Problem("cannot sync the directory of the cursor: %s", strerror(error))
                   .advise(
                       "check the disk of '%s'; the cursor is new, but may be the old one after a power failure",
                       path_.c_str());
}

Cursor::~Cursor() {
  if (directory_) {
    unlink(temporary_.c_str());
  }
}
