#include "orvlog/usage.h"

#include "orvlog/output.h"
#include "orvlog/probe.h"

void print_usage(const char *progname) {
  print_err(
      "usage: %s  [options]\n"
      "\t-s <severity> = call to set the severity of a maintenance note\n"
      "\t\tThe -s option must precede the -l option.\n"
      "\t\tSupported values for severity are:\n"
      "\t\tREPAIRED, CAUTION, CRITICAL, and INFO\n"
      "\t-l <\"your note\"> = call to log a maintenance note.\n"
      "\t\t(The note typed must be in double quotes).\n"
      "\t-v = call to view the entire log\n"
      "\t-V <entrynum> = view the entire log starting at entrynum\n"
      "\t-t Display current thermal sensor data\n"
      "\t-f Display current fan data\n"
      "\t-p Display current power data\n"
      "\t-i Display pci route table\n"
      "%s"
      "\t\tSupported values for option are:\n"
      "\t\tSTATUS, ENABLE, DISABLE, TIMEOUT=<val>\n"
      "\t\tval must be 5, 10, 15, 20 or 30 minutes.\n",
      progname,
      non_Brix != 0 ? "\t-a <option> Control IPMI Watchdog Timer\n"
                    : "\t-a <option> Control Automatic Server Recovery\n");
}
