// Whole files: read, written, and replaced in one step. Failures leave their reason in errno.
#pragma once

#include <cstddef>
#include <string_view>
#include <sys/types.h>

// Reads from `offset` until `size` bytes or the end of the file. Returns the number of bytes, or -1.
ssize_t read_at(int fd, void *buffer, size_t size, off_t offset);

// Writes all of `content`. Returns false when a part could not be written.
bool write_all(int fd, std::string_view content);

// A file is replaced in three steps: a temporary file is written beside it, takes its name, and the directory
// is synced. Even after a power failure the file has either its old content or the new.

// Writes file `temporary` of an open directory, or of any path with AT_FDCWD, with the permissions `mode`.
// Its content is on the disk when this returns. Writers of the same file have to exclude each other: a
// temporary file that is there was left by one that died. Returns false with no temporary file left.
bool write_temporary(int directory, const char *temporary, std::string_view content, mode_t mode);

// Makes the names in an open directory last: they are on the disk when this returns. Returns true, too, where
// the file system cannot sync directories.
bool sync_directory(int directory);
