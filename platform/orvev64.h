// Contract of liborvev64.so.1, the maker's library for firmware environment variables.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Reads variable `name` into `buffer`. *size holds the buffer's size in bytes, and may be changed. Returns 0,
// or non-zero on failure.
int get_ev(const char *name, void *buffer, int *size);

// Writes *size bytes of `buffer` to variable `name`. Returns 0, or non-zero on failure.
int set_ev(const char *name, void *buffer, int *size);

#ifdef __cplusplus
}
#endif
