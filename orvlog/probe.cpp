#include "orvlog/probe.h"

#include <cstdlib>

#include "driver/channel.h"
#include "orvlog/orvlog.h"
#include "orvlog/output.h"

int non_Brix = 0;

namespace {

constexpr uint8_t kIpmiController = 18;  // ucDeviceID of a controller of the IPMI kind

char cdt_path[19] = "/dev/zythealth/cdt";
static_assert(sizeof(cdt_path) == sizeof(kNodeDataTables));

int cdt_fd = -1;  // the probe's node, open until the process ends

// Has the driver fill `table` from data table `type`. Returns what the request returned.
template <class Table>
int read_data_table(int fd, uint16_t type, Table &table) {
  DT_IOCTL request = {};
  request.DtHdr.size = sizeof(table);
  request.DtHdr.DT_Type = type;
  request.pData = &table;
  return orvIoctlRequest(fd, kRequestDataTable, &request, sizeof(request));
}

}  // namespace

void Get_Qm_100_Series() {
  cdt_fd = orvOpenRequest(cdt_path, kOpenReadWrite);
  if (cdt_fd < 0) {
    print_out("\nERROR: Could not open /dev/zythealth/cdt.");
    print_out("\nPlease make sure the Health Monitor is started.");
    finish(EXIT_FAILURE);
  }
  BMC_DEVICE_ID controller = {};
  if (read_data_table(cdt_fd, kTableBmcDeviceId, controller) == 0 &&
      controller.ucDeviceID == kIpmiController) {
    non_Brix = 1;
  }
}

uint16_t do_init() {
  const Channel node(kNodeDataTables, kOpenRead);
  if (!node.is_open()) {
    print_err("orvlog: Cannot open /dev/cdt.\n");
    print_err("The Health Monitor may not be activated.\n");
    return 0;
  }
  _EVENTLOGHEADER log = {};
  if (read_data_table(node.fd(), kTableEventLogHeader, log) != 0) {
    print_err("orvlog: ioctl call failed to check for IML support.\n");
    return 1;
  }
  if (log.ucDataAvailable == 0) {
    print_err("orvlog: This server has no IML support.\n");
    return 0;
  }
  return 1;
}
