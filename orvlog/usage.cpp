#include "orvlog/usage.h"

#include "orvlog/output.h"
#include "orvlog/probe.h"

void print_usage(const char *progname) {
  print_err("usage: %s  [options]\n", progname);
  print_err("\t-s <severity> = call to set the severity of a maintenance note\n");
  print_err("\t\tThe -s option must precede the -l option.\n");
  print_err("\t\tSupported values for severity are:\n");
  print_err("\t\tREPAIRED, CAUTION, CRITICAL, and INFO\n");
  print_err("\t-l <\"your note\"> = call to log a maintenance note.\n");
  print_err("\t\t(The note typed must be in double quotes).\n");
  print_err("\t-v = call to view the entire log\n");
  print_err("\t-V <entrynum> = view the entire log starting at entrynum\n");
  print_err("\t-t Display current thermal sensor data\n");
  print_err("\t-f Display current fan data\n");
  print_err("\t-p Display current power data\n");
  print_err("\t-i Display pci route table\n");
  if (non_Brix != 0) {
    print_err("\t-a <option> Control IPMI Watchdog Timer\n");
  } else {
    print_err("\t-a <option> Control Automatic Server Recovery\n");
  }
  print_err("\t\tSupported values for option are:\n");
  print_err("\t\tSTATUS, ENABLE, DISABLE, TIMEOUT=<val>\n");
  print_err("\t\tval must be 5, 10, 15, 20 or 30 minutes.\n");
}
