// Whole files: read, written, and replaced in one step. Failures leave their reason in errno.
#pragma once

#include <cstddef>
#include <string_view>
#include <sys/types.h>

// Reads from `offset` until `size` bytes or the end of the file. Returns the number of bytes, or -1.
ssize_t read_at(int fd, void *buffer, size_t size, off_t offset);

// Writes all of `content`. Returns false when a part could not be written.
bool write_all(int fd, std::string_view content);

// A file is replaced in two steps, of which the first does the work and the second only moves a name: even
// after a power loss the file has either its old content or the new. Writers of the same file have to exclude
// each other, so that a draft that is there is one that a dead writer has left.

// Writes file `draft` of an open folder, with the permissions `mode`. Its content is on the disk when this
// returns. Returns false with no draft left.
bool write_draft(int folder, const char *draft, std::string_view content, mode_t mode);

// Gives `draft` the name `name` in the same folder. The change is on the disk when this returns. Returns
// false with no draft left; the file may have the new content even then.
bool replace_with_draft(int folder, const char *draft, const char *name);
