#include "orvlog/usage.h"

#include <cstdio>

#include "orvlog/channel.h"

void print_usage(const char *progname) {
  fprintf(stderr, "usage: %s  [options]\n", progname);
  fprintf(stderr, "\t-s <severity> = call to set the severity of a maintenance note\n");
  fprintf(stderr, "\t\tThe -s option must precede the -l option.\n");
  fprintf(stderr, "\t\tSupported values for severity are:\n");
  fprintf(stderr, "\t\tREPAIRED, CAUTION, CRITICAL, and INFO\n");
  fprintf(stderr, "\t-l <\"your note\"> = call to log a maintenance note.\n");
  fprintf(stderr, "\t\t(The note typed must be in double quotes).\n");
  fprintf(stderr, "\t-v = call to view the entire log\n");
  fprintf(stderr, "\t-V <entrynum> = view the entire log starting at entrynum\n");
  fprintf(stderr, "\t-t Display current thermal sensor data\n");
  fprintf(stderr, "\t-f Display current fan data\n");
  fprintf(stderr, "\t-p Display current power data\n");
  fprintf(stderr, "\t-i Display pci route table\n");
  if (non_Brix != 0) {
    fprintf(stderr, "\t-a <option> Control IPMI Watchdog Timer\n");
  } else {
    fprintf(stderr, "\t-a <option> Control Automatic Server Recovery\n");
  }
  fprintf(stderr, "\t\tSupported values for option are:\n");
  fprintf(stderr, "\t\tSTATUS, ENABLE, DISABLE, TIMEOUT=<val>\n");
  fprintf(stderr, "\t\tval must be 5, 10, 15, 20 or 30 minutes.\n");
}
