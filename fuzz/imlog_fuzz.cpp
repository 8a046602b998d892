// Any file and any cursor through every format: a byte of options, two bytes with the cursor's size, the
// cursor, the file. The output has the form that its readers rely on, whatever the records hold.
#include <algorithm>
#include <cstdlib>
#include <rapidjson/reader.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "imlog/listing.h"

namespace {

void require(bool condition) {
  if (!condition) {
    abort();
  }
}

std::string contents(int fd) {
  std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
  require(pread(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
  return text;
}

bool is_json_object(const std::string &line) {
  rapidjson::StringStream stream(line.c_str());
  rapidjson::BaseReaderHandler<> ignore;
  rapidjson::Reader reader;
  return line[0] == '{' && !reader.Parse<rapidjson::kParseValidateEncodingFlag>(stream, ignore).IsError();
}

// Reads the file in a format, and returns what was written.
std::string print(const FormatRow &row, const char *path, History *history, const Selection &selection) {
  static Calendar calendar;
  const int fd = memfd_create("output", 0);
  const Log logs[] = {{path, "h\xFF\n"}, {path, "r1"}};
  const bool is_merged = history == nullptr && (row.traits & kMerges) != 0;
  const FormatContext context = {.level_prefix = true, .logs = {logs, logs + (is_merged ? 2 : 1)}};
  const std::unique_ptr<Format> format = row.make(context);
  DescriptorOutput output(fd);
  Listing listing(selection, is_merged, row, history, calendar, *format, output);
  FileSource source(path);
  const Reading reading = listing.read(source, std::make_shared<const Log>(logs[0]));
  if (is_merged) {
    FileSource again(path);
    listing.read(again, std::make_shared<const Log>(logs[1]));
  }
  if (history != nullptr) {
    history->finish(!reading.problem.is_set());
  }
  listing.print_held();
  format->finish(reading, output);
  require(output.flush());
  std::string text = contents(fd);
  close(fd);
  return text;
}

void check_lines(const FormatRow &row, const std::string &text) {
  require(text.empty() || text.back() == '\n');
  for (size_t start = 0; start < text.size();) {
    const size_t end = text.find('\n', start);
    const std::string line = text.substr(start, end - start);
    const bool is_ascii = &row == &kJsonFormat;
    require(std::none_of(line.begin(), line.end(),
                         [&](unsigned char c) { return c < 0x20 || c == 0x7F || (is_ascii && c > 0x7F); }));
    require(&row != &kJsonFormat || is_json_object(line.substr(3)));  // after the level
    start = end + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const int file = memfd_create("file", 0);
  if (size < 3) {
    return 0;
  }
  const std::string_view input(reinterpret_cast<const char *>(data), size);
  const std::string_view cursor = input.substr(3, data[1] + 256U * data[2]);
  const std::string_view log = input.substr(3 + cursor.size());
  require(ftruncate(file, 0) == 0 &&
          pwrite(file, log.data(), log.size(), 0) == static_cast<ssize_t>(log.size()));
  const std::string path = "/proc/self/fd/" + std::to_string(file);

  History history;
  if (history.parse(cursor) == nullptr) {
    require(history.text() == cursor);
  } else {
    history = History();
  }
  Selection selection;
  selection.lines = (data[0] & 1) != 0 ? std::optional<uint64_t>(data[0] / 8) : std::nullopt;
  selection.unserviced = (data[0] & 2) != 0;
  selection.reverse = (data[0] & 4) != 0;
  for (const FormatRow *const row :
       {&kShortFormat, &kJsonFormat, &kExportFormat, &kJournalFormat, &kPrometheusFormat, &kCheckFormat}) {
    check_lines(*row, print(*row, path.c_str(), nullptr, selection));
  }
  check_lines(kJsonFormat, print(kJsonFormat, path.c_str(), &history, selection));

  // The next cursor is valid, and nothing is new with it.
  History next;
  require(next.parse(history.text()) == nullptr);
  require(print(kRawFormat, path.c_str(), &next, {}).empty());
  return 0;
}
