// JSON Lines: one object per entry. "schema" names its form.
#include <array>
#include <cstdio>
#include <rapidjson/writer.h>

#include "imlog/format.h"
#include "imlog/text.h"

namespace {

// The stream that the JSON library writes to.
struct JsonStream {
  using Ch = char;

  void Put(char character) {
    output->put(character);
  }
  void Flush() {}

  Output *output = nullptr;
  bool is_plain = true;  // no byte of the next string has to be escaped
};

using JsonWriter = rapidjson::Writer<JsonStream>;

// Bytes that need an escape in a JSON string: C0, the quote, the backslash, DEL, and the lead byte of U+0080
// to U+009F.
constexpr std::array<bool, 256> make_stops() {
  std::array<bool, 256> stops = {};
  for (size_t byte = 0; byte < stops.size(); ++byte) {
    stops[byte] = byte < 0x20 || byte == '"' || byte == '\\' || byte == 0x7F || byte == 0xC2;
  }
  return stops;
}
constexpr std::array<bool, 256> kStops = make_stops();

// Writes a character that begins with DEL or 0xC2, escaped if it is a control character. Returns its length.
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

// The first byte that needs an escape, or `end`.
const char *find_stop(const char *text, const char *end) {
  while (text != end && !kStops[static_cast<unsigned char>(*text)]) {
    ++text;
  }
  return text;
}

}  // namespace

// RapidJSON has this protected hook for its own SIMD writers. It is specialised here because it saves a third
// of -o json; check it when RapidJSON is updated. It writes the string up to a character that RapidJSON
// escapes, and returns true, or up to the end, and returns false. DEL and U+0080 to U+009F, which RapidJSON
// does not escape, are escaped here. The string is valid UTF-8.
template <>
inline bool JsonWriter::ScanWriteUnescapedString(rapidjson::StringStream &text, size_t size) {
  const char *const end = text.head_ + size;
  while (text.src_ != end) {
    const char *const stop = os_->is_plain ? end : find_stop(text.src_, end);
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
  explicit JsonFormat(const FormatContext &context) : level_prefix_(context.level_prefix) {}

  void print_entry(const Entry &entry, Output &output) override {
    const EVT_HEADER &header = entry.record.Hdr;
    const Severity &severity = kSeverityTable[entry.severity];
    const std::string_view message = cleaner_.clean(entry.message);
    if (level_prefix_) {
      put_level_prefix(severity, output);
    }
    stream_.output = &output;
    writer_.Reset(stream_);
    writer_.StartObject();
    put_text("schema", "iml/1");
    if (entry.log.host) {
      put_cleaned_text("host", host_cleaner_.clean(*entry.log.host));
    }
    put_number("number", header.dwEvtNumber);
    put_text("severity", severity.name);
    put_number("severity_code", header.bSeverity);
    put_number("priority", static_cast<unsigned>(severity.priority - '0'));
    put_time("first", entry.first);
    put_time("last", entry.last);
    put_number("count", header.dwCount);
    put_number("class", header.wClass);
    put_number("code", header.wCode);
    put_class_name(header.wClass);
    put_key("known");
    writer_.Bool(entry.is_known);
    put_cleaned_text("message", message);
    if (entry.change != Change::kNone) {
      put_text("change", change_word(entry.change));
    }
    writer_.EndObject();
    output.put('\n');
  }

 private:
  void put_key(std::string_view key) {
    writer_.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
  }
  void put_text(std::string_view key, std::string_view text) {
    put_key(key);
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  }
  void put_cleaned_text(std::string_view key, std::string_view text) {
    put_key(key);
    stream_.is_plain = false;
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    stream_.is_plain = true;
  }
  void put_number(std::string_view key, unsigned number) {
    put_key(key);
    writer_.Uint(number);
  }
  void put_time(std::string_view key, const LogTime &time) {
    if (time.is_valid) {
      const ZonedText text(time);
      put_text(key, {text.text, sizeof(text.text)});
    } else {
      put_key(key);
      writer_.Null();
    }
  }
  void put_class_name(uint16_t event_class) {
    put_text("class_name", ClassName(event_class).text);
  }

  bool level_prefix_;
  TextCleaner cleaner_{Controls::kKeep, kReplacementCharacter};
  TextCleaner host_cleaner_ = cleaner_;
  JsonStream stream_;
  JsonWriter writer_;
};

}  // namespace

const FormatRow kJsonFormat = {
    "json",
    "one JSON object per line",
    [](const FormatContext &context) -> std::unique_ptr<Format> {
      return std::make_unique<JsonFormat>(context);
    },
    kFollows | kLevels | kRemembers | kReverses | kMerges,
    nullptr,
};
