// JSON Lines: one object per entry. "schema" names its form.
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "iml/class_names.h"
#include "imlog/format.h"
#include "imlog/text.h"
#include "imlog/time_text.h"

namespace {

// Escapes all that is not ASCII. It fails only on texts that are not valid UTF-8.
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>>;

// Puts a finished object. DEL, the one control character that RapidJSON does not escape, is escaped here.
void put_line(std::string_view line, Output &output) {
  for (size_t del = 0; (del = line.find('\x7F')) != std::string_view::npos;) {
    output.put(line.substr(0, del));
    output.put("\\u007F");
    line.remove_prefix(del + 1);
  }
  output.put(line);
  output.put('\n');
}

class JsonFormat : public Format {
 public:
  using Format::Format;

  void print_entry(const Entry &entry, Output &output) override {
    const EVT_HEADER &header = entry.record.Hdr;
    if (context_.level_prefix) {
      output.print("<%u>", syslog_priority(entry.severity));
    }
    buffer_.Clear();
    writer_.Reset(buffer_);
    writer_.StartObject();
    put_text("schema", "iml/1");
    if (entry.log.host) {
      put_text("host", host_cleaner_.clean(*entry.log.host));
    }
    put_number("number", header.dwEvtNumber);
    put_text("severity", kSeverityNames[entry.severity].in_fields);
    put_number("severity_code", header.bSeverity);
    put_number("priority", syslog_priority(entry.severity));
    put_time("first", entry.first);
    put_time("last", entry.last);
    put_unix_time("first_unix", entry.first);
    put_unix_time("last_unix", entry.last);
    put_number("count", header.dwCount);
    put_number("class", header.wClass);
    put_number("code", header.wCode);
    put_text("class_name", iml::class_name(header.wClass));
    writer_.Key("known");
    writer_.Bool(entry.is_known);
    put_text("message", cleaner_.clean(entry.message));
    if (entry.change != Change::kNone) {
      put_text("change", change_word(entry.change));
    }
    writer_.EndObject();
    put_line({buffer_.GetString(), buffer_.GetSize()}, output);
  }

 private:
  void put_number(const char *name, uint32_t number) {
    writer_.Key(name);
    writer_.Uint(number);
  }
  void put_text(const char *name, std::string_view text) {
    writer_.Key(name);
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  }
  void put_time(const char *name, const LogTime &time) {
    if (time.is_valid) {
      put_text(name, ZonedText(time, context_.in_utc).view());
    } else {
      writer_.Key(name);
      writer_.Null();
    }
  }
  void put_unix_time(const char *name, const LogTime &time) {
    writer_.Key(name);
    if (time.is_valid) {
      writer_.Int64(time.instant);
    } else {
      writer_.Null();
    }
  }

  TextCleaner cleaner_{Controls::kKeep, kReplacementCharacter};
  TextCleaner host_cleaner_ = cleaner_;
  rapidjson::StringBuffer buffer_;  // the object under way
  JsonWriter writer_{buffer_};
};

}  // namespace

const FormatRow kJsonFormat = {
    .name = "json",
    .make = make_format<JsonFormat>,
    .traits = kFollows | kLevels | kRemembers | kReverses | kMerges | kHasTimes,
};
