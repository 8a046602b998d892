#include "orvlog/sensors.h"

#include <cstring>

#include "driver/channel.h"
#include "orvlog/orvlog.h"
#include "orvlog/output.h"

namespace {

const char *report_name(unsigned int type) {
  switch (type) {
    case kReportThermal: return "TEMP";
    case kReportFan: return "FAN";
    case kReportPower: return "PWR";
    case kReportPciRouting: return "PCI";
    case kReportDebug: return "DEBUG";
    default: return "%%%%";
  }
}

}  // namespace

void print_proc_data(unsigned int type) {
  char report[kReportSize + 1] = {};  // the driver may fill all of kReportSize
  Channel node(kNodeReports, kOpenRead);
  if (!node.is_open()) {
    print_err("orvlog: Cannot open /dev/zythealth/proc.\n");
    strcpy(report, "Could not get temperature data. Make sure the health monitor is activated\n");
  } else {
    if (node.request(type, report, kReportRequestLength) != 0) {
      print_err("orvlog: GET_%s_PD ioctl failed\n", report_name(type));
      strcpy(report, "ioctl failed\n");
    }
    node.close();
  }
  print_out("%s\n", report);
}
