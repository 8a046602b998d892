#include "imlog/parse_time.h"

#include <charconv>
#include <ctime>

#include "platform/time_stamp.h"

namespace {

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;
constexpr int64_t kWeek = 7 * kDay;

// True if `text` has the form of `shape`: '0' stands for a digit, '_' for a blank or a "T".
bool has_shape(std::string_view text, std::string_view shape) {
  if (text.size() != shape.size()) {
    return false;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    const bool is_digit = text[i] >= '0' && text[i] <= '9';
    const bool fits = shape[i] == '0'   ? is_digit
                      : shape[i] == '_' ? text[i] == ' ' || text[i] == 'T'
                                        : text[i] == shape[i];
    if (!fits) {
      return false;
    }
  }
  return true;
}

// The number in the two digits at `at`; 0 after the end of `text`.
uint8_t two_digits(std::string_view text, size_t at) {
  return at < text.size() ? static_cast<uint8_t>((text[at] - '0') * 10 + (text[at + 1] - '0')) : 0;
}

// Takes "Z" or an offset such as "+02:00" from the end of a date with a time of day. Returns the offset in
// seconds, or nothing, with `text` as it was, where there is none.
std::optional<int64_t> take_offset(std::string_view &text) {
  constexpr size_t kMinuteSize = sizeof("2024-12-05T22:40") - 1;
  if (text.size() > kMinuteSize && text.back() == 'Z') {
    text.remove_suffix(1);
    return 0;
  }
  constexpr size_t kOffsetSize = sizeof("+02:00") - 1;
  if (text.size() < kMinuteSize + kOffsetSize) {
    return std::nullopt;
  }
  const std::string_view offset = text.substr(text.size() - kOffsetSize);
  if (!has_shape(offset, "+00:00") && !has_shape(offset, "-00:00")) {
    return std::nullopt;
  }
  const uint8_t hours = two_digits(offset, 1);
  const uint8_t minutes = two_digits(offset, 4);
  if (hours > 24 || minutes > 59) {
    return std::nullopt;
  }
  text.remove_suffix(kOffsetSize);
  const int64_t seconds = hours * kHour + minutes * kMinute;
  return offset[0] == '-' ? -seconds : seconds;
}

}  // namespace

std::optional<uint64_t> parse_number(std::string_view text, uint64_t most, bool hexadecimal) {
  const bool has_prefix = hexadecimal && (text.starts_with("0x") || text.starts_with("0X"));
  text.remove_prefix(has_prefix ? 2 : 0);
  uint64_t number = 0;
  const char *const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, number, has_prefix ? 16 : 10);
  if (error != std::errc() || next != end || number > most) {
    return std::nullopt;
  }
  return number;
}

std::optional<int64_t> parse_span(std::string_view text) {
  const char unit = text.empty() ? '\0' : text.back();
  const int64_t seconds = unit == 'm'   ? kMinute
                          : unit == 'h' ? kHour
                          : unit == 'd' ? kDay
                          : unit == 'w' ? kWeek
                                        : 0;
  if (seconds == 0) {
    return std::nullopt;
  }
  text.remove_suffix(1);
  const std::optional<int64_t> count = parse_number(text, UINT32_MAX);
  return count ? std::optional(*count * seconds) : std::nullopt;
}

std::optional<int64_t> parse_time(std::string_view text, int64_t now, Calendar &calendar) {
  if (text == "now") {
    return now;
  }
  if (text.starts_with('@')) {
    return parse_number(text.substr(1), kLastInstant);
  }
  if (text.starts_with('-')) {
    const std::optional<int64_t> span = parse_span(text.substr(1));
    return span ? std::optional(now - *span) : std::nullopt;
  }
  const std::optional<int64_t> offset = take_offset(text);
  EVT_TIME_STAMP stamp = {};
  if (text == "today" || text == "yesterday") {
    tm date = {};
    localtime_r(&now, &date);
    date.tm_mday -= text == "yesterday" ? 1 : 0;
    timegm(&date);  // turns day 0 into the last day of the month before
    stamp = to_stamp(date);
    stamp.bHour = 0;
    stamp.bMinute = 0;
  } else if (has_shape(text, "0000-00-00") || has_shape(text, "0000-00-00_00:00") ||
             has_shape(text, "0000-00-00_00:00:00")) {
    stamp = {two_digits(text, 0), two_digits(text, 2),  two_digits(text, 5),
             two_digits(text, 8), two_digits(text, 11), two_digits(text, 14)};
  } else {
    return std::nullopt;
  }
  const uint8_t seconds = text.size() > 16 ? two_digits(text, 17) : 0;
  const std::optional<int64_t> in_utc = instant_in_utc(stamp);
  if (!in_utc || seconds > 59) {
    return std::nullopt;
  }
  if (offset) {
    return *in_utc + seconds - *offset;
  }
  const LogTime time = calendar.at(stamp);
  return time.is_valid ? std::optional<int64_t>(time.instant + seconds) : std::nullopt;
}
