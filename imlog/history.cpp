#include "imlog/history.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "util/hash.h"

namespace {

// The version of the cursor's form and of the algorithm of its fingerprints.
constexpr std::string_view kCursorName = "imlog-cursor ";
constexpr std::string_view kFirstLine = "imlog-cursor 1 fnv1a-64\n";
constexpr char kDamaged[] = "is damaged";

// The last line: the number of entries, and a checksum of the lines before it.
std::string last_line(size_t entries, std::string_view text) {
  char line[64];
  snprintf(line, sizeof(line), "entries %zu %016" PRIx64 "\n", entries, hash_bytes(text));
  return line;
}

// Removes a number from the front of `text`, with the blank after it.
template <class Number>
bool read_number(std::string_view &text, size_t digits, int base, Number &value) {
  const std::string_view word = text.substr(0, digits != 0 ? digits : text.find(' '));
  const char *const end = word.data() + word.size();
  const auto [next, error] = std::from_chars(word.data(), end, value, base);
  text.remove_prefix(word.size());
  if (text.starts_with(' ')) {
    text.remove_prefix(1);
  }
  return error == std::errc() && next == end;
}

}  // namespace

const char *History::parse(std::string_view text) {
  before_.clear();
  if (text.empty()) {
    return "is empty";
  }
  if (!text.starts_with(kFirstLine)) {
    return text.starts_with(kCursorName) ? "is of another version" : kDamaged;
  }
  std::string_view rest = text.substr(kFirstLine.size());
  for (;;) {
    const std::string_view line = rest.substr(0, rest.find('\n') + 1);
    if (line.size() == rest.size()) {  // the last one
      const bool is_whole = line == last_line(before_.size(), text.substr(0, text.size() - line.size()));
      return is_whole ? nullptr : kDamaged;
    }
    uint32_t number = 0;
    Known known = {};
    if (line.empty() || !parse_line(line, number, known)) {
      return kDamaged;
    }
    before_.emplace_hint(before_.end(), number, known);
    rest.remove_prefix(line.size());
  }
}

std::string History::text() const {
  std::string text(kFirstLine);
  for (const auto &[number, known] : before_) {
    text += line(number, known);
  }
  return text + last_line(before_.size(), text);
}

void History::begin_with(const EVT_HEADER &first) {
  const uint32_t number = first.dwEvtNumber;  // find() takes a reference, which packed members do not allow
  const auto old = before_.find(number);
  if (old != before_.end() &&
      !is_same_entry(old->second, {first.InitTime, first.wClass, first.wCode, 0, 0})) {
    before_.clear();
  }
}

Change History::add(const EVT_LOG_ENTRY &record, uint64_t index) {
  const EVT_HEADER &header = record.Hdr;
  const std::string_view bytes(reinterpret_cast<const char *>(&record), sizeof(record));
  const Known known = {header.InitTime, header.wClass, header.wCode, hash_bytes(bytes), index};
  const uint32_t number = header.dwEvtNumber;
  now_.insert_or_assign(now_.end(), number, known);
  const auto old = before_.find(number);
  if (old == before_.end() || !is_same_entry(old->second, known)) {
    return Change::kNew;
  }
  return old->second.fingerprint == known.fingerprint ? Change::kUnchanged : Change::kRepeated;
}

bool History::is_latest(uint32_t number, uint64_t index) const {
  const auto found = before_.find(number);
  return found != before_.end() && found->second.index == index;
}

bool History::finish(bool is_complete) {
  if (!is_complete) {
    now_.insert(before_.begin(), before_.end());  // does not replace what was read
  }
  bool has_changed = now_.size() != before_.size();
  for (auto a = now_.begin(), b = before_.begin(); !has_changed && a != now_.end(); ++a, ++b) {
    has_changed = a->first != b->first || !is_same_entry(a->second, b->second) ||
                  a->second.fingerprint != b->second.fingerprint;
  }
  before_ = std::move(now_);
  now_.clear();
  return has_changed;
}

bool History::is_same_entry(const Known &a, const Known &b) {
  return memcmp(&a.first, &b.first, sizeof(a.first)) == 0 && a.event_class == b.event_class &&
         a.code == b.code;
}

// An entry in the cursor: number, first time, class, code, fingerprint; all but the number in hexadecimal.
std::string History::line(uint32_t number, const Known &known) {
  char line[80];
  const EVT_TIME_STAMP &first = known.first;
  snprintf(line, sizeof(line), "%" PRIu32 " %02x%02x%02x%02x%02x%02x %04x %04x %016" PRIx64 "\n", number,
           first.bCentury, first.bYear, first.bMonth, first.bDay, first.bHour, first.bMinute,
           known.event_class, known.code, known.fingerprint);
  return line;
}

bool History::parse_line(std::string_view text, uint32_t &number, Known &known) {
  std::string_view rest = text.substr(0, text.size() - 1);
  EVT_TIME_STAMP &first = known.first;
  return read_number(rest, 0, 10, number) && read_number(rest, 2, 16, first.bCentury) &&
         read_number(rest, 2, 16, first.bYear) && read_number(rest, 2, 16, first.bMonth) &&
         read_number(rest, 2, 16, first.bDay) && read_number(rest, 2, 16, first.bHour) &&
         read_number(rest, 2, 16, first.bMinute) && read_number(rest, 4, 16, known.event_class) &&
         read_number(rest, 4, 16, known.code) && read_number(rest, 16, 16, known.fingerprint);
}
