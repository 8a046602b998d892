// Access to the directory that describes the simulated server. Failures set errno. No symbolic link below the
// directory is followed, and nothing blocks on a file of an unexpected kind.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace simulator {

// Names the directory. Without it there is no server.
inline constexpr char kServerVariable[] = "ORVLOG_SIMULATOR";

// Opens `name` in the server's directory for reading; `kind` is S_IFREG or S_IFDIR. Returns a descriptor, or
// -1: ENOENT when there is no server or no such name, ELOOP for a symbolic link, EINVAL for any other wrong
// kind of file.
int open_in_server(const char *name, mode_t kind);

// Opens file `name` of an open directory for reading. Returns as open_in_server does.
int open_in_directory(int directory, const char *name);

// Replaces the content of file `name` of an open directory. The change is atomic: even after a power loss the
// file has either its old content or the new. Writers wait for each other. Returns 0, or -1.
int replace_file(int directory, const char *name, const void *data, size_t size);

// Waits for the exclusive lock of an open file or directory. Returns 0, or -1.
int lock(int fd);

// Sets errno. Returns -1.
int fail(int error);

}  // namespace simulator
