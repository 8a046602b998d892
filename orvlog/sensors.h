#pragma once

// Copies report number `type` of the health driver (ReportRequest) to standard output. A failure is reported
// on standard error and, in place of the report, on standard output.
void print_proc_data(unsigned int type);
