#include "iml/event_text.h"

#include <cstring>

namespace iml {
namespace {

// How many digits a number has at least; zeros make up for those that it lacks.
size_t least_digits(const Directive &directive, bool negative) {
  if (directive.has_precision) {
    return directive.precision;
  }
  return directive.zeros && !directive.left && directive.width != 0 ? directive.width - (negative ? 1U : 0U)
                                                                    : 0;
}

}  // namespace

void EventText::append(std::string_view text) {
  if (size_ == 0) {
    return;
  }
  const size_t length = std::min<size_t>(text.size(), size_ - 1 - length_);
  memcpy(buffer_ + length_, text.data(), length);
  length_ += static_cast<uint32_t>(length);
  buffer_[length_] = '\0';
}

void EventText::append_padded(const Directive &directive, std::string_view text) {
  static constexpr std::string_view kBlanks = "                                ";
  static_assert(kBlanks.size() == kWidest);
  const size_t blanks = directive.width > text.size() ? directive.width - text.size() : 0;
  if (blanks != 0 && !directive.left) {
    append(kBlanks.substr(0, blanks));
  }
  append(text);
  if (blanks != 0 && directive.left) {
    append(kBlanks.substr(0, blanks));
  }
}

void EventText::append_number(const Directive &directive, uint32_t magnitude, bool negative) {
  const char *const digits = directive.conversion == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
  const unsigned base = directive.conversion == 'x' || directive.conversion == 'X' ? 16 : 10;
  char number[kWidest + 1];  // and a sign
  char *const end = number + sizeof(number);
  char *first = end;
  do {
    *--first = digits[magnitude % base];
    magnitude /= base;
  } while (magnitude != 0);
  const size_t least = least_digits(directive, negative);
  while (static_cast<size_t>(end - first) < least) {
    *--first = '0';
  }
  if (negative) {
    *--first = '-';
  }
  append_padded(directive, {first, static_cast<size_t>(end - first)});
}

void EventText::write(const char *format, const Argument *argument) {
  for (const char *p = format;;) {
    const char *const percent = strchrnul(p, '%');
    if (percent != p) {
      append({p, static_cast<size_t>(percent - p)});
    }
    if (*percent == '\0') {
      break;
    }
    p = percent + 1;
    if (*p == 's') {  // most directives
      append(argument++->text());
      ++p;
      continue;
    }
    const Directive directive = parse_directive(p);
    switch (directive.conversion) {
      case 's': {
        const char *const text = argument->text();
        ++argument;
        append_padded(directive,
                      {text, directive.has_precision ? strnlen(text, directive.precision) : strlen(text)});
        break;
      }
      case 'c': {
        const char c = static_cast<char>(argument++->number());
        append({&c, c == '\0' ? 0U : 1U});  // a zero character would end the text that it is put into
        break;
      }
      case 'd': {
        const uint32_t value = argument++->number();
        const bool negative = static_cast<int32_t>(value) < 0;
        append_number(directive, negative ? 0U - value : value, negative);
        break;
      }
      case '%': append("%"); break;
      default: append_number(directive, argument++->number(), false); break;
    }
  }
}

}  // namespace iml
