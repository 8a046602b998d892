#include "orvlog/sensors.h"

#include "driver/report.h"
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
  ReportText report;
  const char *text = report;
  const std::optional<int> status = read_report(type, report);
  if (!status) {
    print_err("orvlog: Cannot open /dev/zythealth/proc.\n");
    text = "Could not get temperature data. Make sure the health monitor is activated\n";
  } else if (*status != 0) {
    print_err("orvlog: GET_%s_PD ioctl failed\n", report_name(type));
    text = "ioctl failed\n";
  }
  print_out("%s\n", text);
}
