// Prints a line for each entry of a log of 240-byte records: number, severity, class and description,
// separated by tabs. Usage: translate [FILE]; without a file it reads standard input.
#include <stdio.h>

#include "iml/eventstr.h"

int main(int argc, char **argv) {
  FILE *log = argc > 1 ? fopen(argv[1], "rb") : stdin;
  if (log == NULL) {
    perror(argv[1]);
    return 1;
  }
  EVT_LOG_ENTRY entry;
  while (fread(&entry, sizeof(entry), 1, log) == 1) {
    if (entry.Hdr.wEvtLength == 0) {
      continue;  // a slot that holds no entry
    }
    char severity[32];
    char class_name[64];
    char text[256];
    TranslateEventLogSeverity(entry.Hdr.bSeverity, severity, sizeof(severity));
    TranslateEventLogClass(entry.Hdr.wClass, class_name, sizeof(class_name));
    TranslateEventLogMessage(&entry, text, sizeof(text));
    // A terminal would obey control characters in the firmware's texts.
    for (char *c = text; *c != '\0'; ++c) {
      if (*c < ' ' || *c > '~') {
        *c = ' ';
      }
    }
    printf("%u\t%s\t%s\t%s\n", (unsigned)entry.Hdr.dwEvtNumber, severity, class_name, text);
  }
  if (ferror(log)) {
    perror("translate");
    return 1;
  }
  return fclose(stdout) == 0 ? 0 : 1;
}
