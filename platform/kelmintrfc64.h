// Contract of libkelmintrfc64.so.3, the maker's request library for the health driver. The driver's requests
// and records are in health_driver.h.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Opens `path` with `mode` as for open(2): 0 read-only, 2 read-write. Driver nodes and ordinary files alike.
// Returns a plain file descriptor, or a negative value (-1).
int orvOpenRequest(const char *path, int mode);

// Issues request `code` on an open node. `length` is passed to the driver and is not always the size of
// `buffer`. Returns 0, a driver status above 0, or -1 with the reason in errno.
int orvIoctlRequest(int fd, unsigned int code, void *buffer, unsigned int length);

// Closes the descriptor. Returns 0, or -1.
int orvCloseRequest(int fd);

#ifdef __cplusplus
}

// Modes of orvOpenRequest.
inline constexpr int kOpenRead = 0;
inline constexpr int kOpenReadWrite = 2;
#endif
