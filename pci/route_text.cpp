#include "pci/route_text.h"

#include <cstring>

namespace {

// The fields of an entry's line as they are read. An entry keeps only their low bits.
struct RouteFields {
  unsigned bus, device, function, link, irqs;
  int slot;
};

// One format for scanf's two forms, and the fields that it fills.
constexpr char kRouteFormat[] = "%2x %2x %2x %2x %4x %2d\n";
constexpr int kRouteFields = 6;

// No table needs more. What follows is not read, so that reading a file without end stops.
constexpr size_t kProcTextSize = size_t{64} * 1024;

pci_irq_route_entry make_entry(const RouteFields &fields) {
  pci_irq_route_entry entry = {};
  entry.bus = static_cast<uint8_t>(fields.bus);
  entry.dev = static_cast<uint8_t>(fields.device << 3);
  entry.link_inta = static_cast<uint8_t>(fields.link);
  entry.irq_inta = static_cast<uint16_t>(fields.irqs);
  entry.slot = static_cast<uint8_t>(fields.slot);
  return entry;
}

bool read_route(const char *line, RouteFields *f) {
  return sscanf(line, kRouteFormat, &f->bus, &f->device, &f->function, &f->link, &f->irqs, &f->slot) ==
         kRouteFields;
}

bool read_route(FILE *file, RouteFields *f) {
  return fscanf(file, kRouteFormat, &f->bus, &f->device, &f->function, &f->link, &f->irqs, &f->slot) ==
         kRouteFields;
}

// The next character of `file`, which stays there to be read.
int peek(FILE *file) {
  return ungetc(getc(file), file);
}

// Reads up to and including `last`, or to the end of `file`.
void skip_past(FILE *file, char last) {
  int c;
  do {
    c = getc(file);
  } while (c != EOF && c != last);
}

// Drops a line of at most 79 characters; what is longer goes on as the next line.
void drop_line(FILE *file) {
  char line[80];
  [[maybe_unused]] const char *dropped = fgets(line, sizeof(line), file);
}

int scan_routes(FILE *file, pci_irq_route_entry (&table)[kRouteTableEntries]) {
  skip_past(file, '(');
  drop_line(file);
  drop_line(file);  // the heading
  int count = 0;
  while (count < kRouteTableEntries) {
    const int next = peek(file);
    if (next == EOF || next == ')') {
      break;
    }
    RouteFields fields;
    if (read_route(file, &fields)) {
      table[count++] = make_entry(fields);
    } else if (peek(file) != ')') {
      skip_past(file, '\n');  // scanf would stop at the same character forever
    }
  }
  return count;
}

}  // namespace

int read_daemon_routes(char *text, pci_irq_route_entry (&table)[kRouteTableEntries]) {
  if (*text != '(') {
    return -1;
  }
  strsep(&text, "\n");
  strsep(&text, "\n");  // the heading, which may be empty
  int count = 0;
  while (count < kRouteTableEntries) {
    const char *line = strsep(&text, "\n");
    if (line == nullptr || *line == ')') {
      break;
    }
    RouteFields fields;
    if (read_route(line, &fields)) {
      table[count++] = make_entry(fields);
    }
  }
  return count;
}

int read_proc_routes(FILE *file, pci_irq_route_entry (&table)[kRouteTableEntries]) {
  char text[kProcTextSize];
  const size_t size = fread(text, 1, sizeof(text), file);
  FILE *const bounded = size > 0 ? fmemopen(text, size, "r") : nullptr;
  if (bounded == nullptr) {
    return 0;
  }
  const int count = scan_routes(bounded, table);
  fclose(bounded);
  return count;
}
