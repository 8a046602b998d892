#include "iml/event_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <limits>

namespace iml {

namespace {

constexpr unsigned kWidest = 10;  // digits of a number: no event text pads further
constexpr unsigned kNoPrecision = std::numeric_limits<unsigned>::max();

unsigned ReadDigits(const char *&p) {
  unsigned value = 0;
  while (*p >= '0' && *p <= '9') {
    value = value * 10 + static_cast<unsigned>(*p++ - '0');
  }
  return value;
}

}  // namespace

EventText::EventText(char *szString, std::size_t ulSize)
    : begin_(szString), next_(szString), last_(ulSize == 0 ? nullptr : szString + ulSize - 1) {
  if (last_ != nullptr) {
    *next_ = '\0';
  }
}

void EventText::Append(std::string_view text) {
  if (last_ == nullptr) {
    return;
  }
  const std::size_t size = std::min(text.size(), static_cast<std::size_t>(last_ - next_));
  std::memcpy(next_, text.data(), size);
  next_ += size;
  *next_ = '\0';
}

void EventText::AppendNumber(unsigned value, bool negative, unsigned base, bool upper_case, unsigned width) {
  const char *const digits = upper_case ? "0123456789ABCDEF" : "0123456789abcdef";
  char number[kWidest + 1];  // and a sign
  char *const end = number + sizeof number;
  char *first = end;
  do {
    *--first = digits[value % base];
    value /= base;
  } while (value != 0);
  for (width = std::min(width, kWidest); static_cast<unsigned>(end - first) < width;) {
    *--first = '0';
  }
  if (negative) {
    *--first = '-';
  }
  Append({first, static_cast<std::size_t>(end - first)});
}

void EventText::Format(const char *szFormat, ...) {
  va_list args;
  va_start(args, szFormat);
  for (const char *p = szFormat;;) {
    const char *const directive = strchrnul(p, '%');
    Append({p, static_cast<std::size_t>(directive - p)});
    if (*directive == '\0') {
      break;
    }
    p = directive + 1;
    const unsigned width = ReadDigits(p);
    unsigned precision = kNoPrecision;
    if (*p == '.') {
      precision = ReadDigits(++p);
    }
    switch (*p++) {
      case 's': {
        const char *const text = va_arg(args, const char *);
        Append({text, strnlen(text, precision)});
        break;
      }
      case 'c': {
        // A zero character ends the text that it is put into, so it adds nothing.
        const char c = static_cast<char>(va_arg(args, int));
        Append({&c, c == '\0' ? 0U : 1U});
        break;
      }
      case 'u': AppendNumber(va_arg(args, unsigned), false, 10, false, width); break;
      case 'd': {
        const int value = va_arg(args, int);
        const unsigned magnitude = static_cast<unsigned>(value);
        AppendNumber(value < 0 ? 0U - magnitude : magnitude, value < 0, 10, false, width);
        break;
      }
      case 'x': AppendNumber(va_arg(args, unsigned), false, 16, false, width); break;
      case 'X': AppendNumber(va_arg(args, unsigned), false, 16, true, width); break;
      case '%': Append("%"); break;
      default:
        __builtin_trap();  // a directive that is not known here, which the first test of its message meets
    }
  }
  va_end(args);
}

void EventText::FormatTexts(const char *szFormat, std::span<const char *const> texts) {
  const char *p = szFormat;
  for (const char *const text : texts) {
    const char *const directive = strchrnul(p, '%');  // always found: Wording has counted them
    Append({p, static_cast<std::size_t>(directive - p)});
    Append(text);
    p = directive + 2;
  }
  Append(p);
}

}  // namespace iml
