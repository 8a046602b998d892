// JSON Lines: one object per entry. "schema" names its form.
#include <array>
#include <cstdio>
#include <rapidjson/writer.h>

#include "imlog/format.h"
#include "imlog/text.h"
#include "imlog/time_text.h"

namespace {

// The stream that the JSON library writes to.
struct JsonStream {
  using Ch = char;

  void Put(char character) {
    output->put(character);
  }
  void Flush() {}

  Output *output = nullptr;
};

using JsonWriter = rapidjson::Writer<JsonStream>;

// Bytes at which a JSON string may need an escape: C0, the quote, the backslash, DEL, and the lead byte of
// U+0080 to U+009F.
constexpr std::array<bool, 256> make_stops() {
  std::array<bool, 256> stops = {};
  for (size_t byte = 0; byte < stops.size(); ++byte) {
    stops[byte] = byte < 0x20 || byte == '"' || byte == '\\' || byte == 0x7F || byte == 0xC2;
  }
  return stops;
}
constexpr std::array<bool, 256> kStops = make_stops();

// Puts a character that begins with DEL or 0xC2, escaped if it is a control character. Returns its length.
size_t put_high_character(const char *text, Output &output) {
  const size_t length = *text == '\x7F' ? 1 : 2;
  const auto last = static_cast<unsigned char>(text[length - 1]);
  if (length == 2 && last >= 0xA0) {
    output.put(std::string_view(text, length));
  } else {
    char escape[sizeof("\\u0000")];
    snprintf(escape, sizeof(escape), "\\u%04X", unsigned{last});
    output.put(escape);
  }
  return length;
}

// The first byte of kStops in a text, or `end`.
const char *find_stop(const char *text, const char *end) {
  while (text != end && !kStops[static_cast<unsigned char>(*text)]) {
    ++text;
  }
  return text;
}

}  // namespace

// RapidJSON has this protected hook for its own SIMD writers; check it when RapidJSON is updated. It writes
// the string up to a character that RapidJSON escapes, and returns true, or up to the end, and returns false.
// DEL and U+0080 to U+009F, which RapidJSON does not escape, are escaped here. The string is valid UTF-8.
template <>
inline bool JsonWriter::ScanWriteUnescapedString(rapidjson::StringStream &text, size_t size) {
  const char *const end = text.head_ + size;
  while (text.src_ != end) {
    const char *const stop = find_stop(text.src_, end);
    os_->output->put(std::string_view(text.src_, static_cast<size_t>(stop - text.src_)));
    text.src_ = stop;
    if (stop == end) {
      return false;
    }
    if (*stop != '\x7F' && *stop != '\xC2') {
      return true;
    }
    text.src_ += put_high_character(stop, *os_->output);
  }
  return false;
}

namespace {

class JsonFormat : public Format {
 public:
  explicit JsonFormat(const FormatContext &context)
      : level_prefix_(context.level_prefix), in_utc_(context.in_utc) {}

  void print_entry(const Entry &entry, Output &output) override {
    const EVT_HEADER &header = entry.record.Hdr;
    const Severity &severity = kSeverityTable[entry.severity];
    if (level_prefix_) {
      put_level_prefix(severity, output);
    }
    output.put(R"({"schema":"iml/1")");
    if (entry.log.host) {
      put_text(R"(,"host":)", host_cleaner_.clean(*entry.log.host), output);
    }
    put_number(R"(,"number":)", header.dwEvtNumber, output);
    put_word(R"(,"severity":)", severity.name, output);
    put_number(R"(,"severity_code":)", header.bSeverity, output);
    output.put(R"(,"priority":)");
    output.put(severity.priority);
    put_time(R"(,"first":)", entry.first, output);
    put_time(R"(,"last":)", entry.last, output);
    put_unix_time(R"(,"first_unix":)", entry.first, output);
    put_unix_time(R"(,"last_unix":)", entry.last, output);
    put_number(R"(,"count":)", header.dwCount, output);
    put_number(R"(,"class":)", header.wClass, output);
    put_number(R"(,"code":)", header.wCode, output);
    put_word(R"(,"class_name":)", ClassName(header.wClass).text, output);
    output.put(entry.is_known ? R"(,"known":true)" : R"(,"known":false)");
    put_text(R"(,"message":)", cleaner_.clean(entry.message), output);
    if (entry.change != Change::kNone) {
      put_word(R"(,"change":)", change_word(entry.change), output);
    }
    output.put("}\n");
  }

 private:
  // Each puts one member. `name` has all that comes before the value.

  static void put_number(std::string_view name, uint64_t number, Output &output) {
    output.put(name);
    output.put_number(number);
  }
  // A word has no character that has to be escaped.
  static void put_word(std::string_view name, std::string_view word, Output &output) {
    output.put(name);
    output.put('"');
    output.put(word);
    output.put('"');
  }
  // A text of valid UTF-8, which may have any character.
  void put_text(std::string_view name, std::string_view text, Output &output) {
    output.put(name);
    stream_.output = &output;
    writer_.Reset(stream_);
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  }
  void put_time(std::string_view name, const LogTime &time, Output &output) const {
    if (time.is_valid) {
      put_word(name, ZonedText(time, in_utc_).view(), output);
    } else {
      put_null(name, output);
    }
  }
  static void put_unix_time(std::string_view name, const LogTime &time, Output &output) {
    if (time.is_valid) {
      output.put(name);
      output.put_signed(time.instant);
    } else {
      put_null(name, output);
    }
  }
  static void put_null(std::string_view name, Output &output) {
    output.put(name);
    output.put("null");
  }

  bool level_prefix_;
  bool in_utc_;
  TextCleaner cleaner_{Controls::kKeep, kReplacementCharacter};
  TextCleaner host_cleaner_ = cleaner_;
  JsonStream stream_;
  JsonWriter writer_;
};

}  // namespace

const FormatRow kJsonFormat = {
    .name = "json",
    .meaning = "one JSON object per line",
    .make = make_format<JsonFormat>,
    .traits = kFollows | kLevels | kRemembers | kReverses | kMerges | kHasTimes,
};
