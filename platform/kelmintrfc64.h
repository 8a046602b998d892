// Contract of libkelmintrfc64.so.3, the maker's request
// library for the health driver, and of the driver behind it.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Opens `path` with `mode` as for open(2): 0 read-only, 2 read-write. Driver nodes and ordinary files alike.
// Returns a plain file descriptor, or a negative value (-1).
int orvOpenRequest(const char *path, int mode);

// Issues request `code` on an open node. `length` is what the driver is told, not always the size of
// `buffer`. Returns 0, a driver status above 0, or -1 with the reason in errno.
int orvIoctlRequest(int fd, unsigned int code, void *buffer, unsigned int length);

// Closes the descriptor. Returns 0, or -1.
int orvCloseRequest(int fd);

#ifdef __cplusplus
}

// The driver's nodes.
inline constexpr char kNodeDataTables[] = "/dev/zythealth/cdt";
inline constexpr char kNodeEvents[] = "/dev/zythealth/cevt";
inline constexpr char kNodeAsr[] = "/dev/zythealth/casr";
inline constexpr char kNodeReports[] = "/dev/zythealth/proc";

// Modes of orvOpenRequest.
inline constexpr int kOpenRead = 0;
inline constexpr int kOpenReadWrite = 2;

// Requests on the reports' node: the code is the number of the report, the buffer takes a text of at most
// kReportSize bytes, and the length that the driver expects is kReportRequestLength.
enum ReportRequest : unsigned int {
  kReportThermal = 1,
  kReportFan = 2,
  kReportPower = 3,
  kReportPciRouting = 4,
  kReportDebug = 5,
};
inline constexpr unsigned int kReportSize = 4608;
inline constexpr unsigned int kReportRequestLength = 1;
#endif
