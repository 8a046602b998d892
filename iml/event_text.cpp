#include "iml/event_text.h"

#include <cstring>

namespace iml {
namespace {

// The least number of digits to write. Shorter numbers get leading zeros.
unsigned least_digits(const Directive &directive, bool negative) {
  if (directive.has_precision) {
    return directive.precision;
  }
  return directive.zeros && !directive.left && directive.width != 0 ? directive.width - (negative ? 1U : 0U)
                                                                    : 0;
}

char *write_hexadecimal(char *to, uint32_t number, unsigned least, const char *digits) {
  unsigned size = 1;
  while (size < least || (size < 8 && number >> 4 * size != 0)) {
    ++size;
  }
  for (char *p = to + size; p != to; number >>= 4) {
    *--p = digits[number % 16];
  }
  return to + size;
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
  if (directive.width <= text.size()) {
    append(text);
    return;
  }
  const std::string_view blanks = kBlanks.substr(0, directive.width - text.size());
  append(directive.left ? text : blanks);
  append(directive.left ? blanks : text);
}

void EventText::append_number(const Directive &directive, uint32_t magnitude, bool negative) {
  char padded[kWidest + 1];  // with room for a sign
  const unsigned least = least_digits(directive, negative);
  // A number that needs no blanks is written in place if the longest number would fit there.
  const bool in_place = directive.width <= least + (negative ? 1U : 0U) && size_ - length_ > sizeof(padded);
  char *const begin = in_place ? buffer_ + length_ : padded;
  char *end = begin;
  if (negative) {
    *end++ = '-';
  }
  switch (directive.conversion) {
    case 'x': end = write_hexadecimal(end, magnitude, least, "0123456789abcdef"); break;
    case 'X': end = write_hexadecimal(end, magnitude, least, "0123456789ABCDEF"); break;
    default: end = write_decimal(end, magnitude, least); break;
  }
  if (in_place) {
    length_ += static_cast<uint32_t>(end - begin);
    *end = '\0';
  } else {
    append_padded(directive, {begin, static_cast<size_t>(end - begin)});
  }
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
        append({&c, c == '\0' ? 0U : 1U});  // a zero character would end the text early
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
