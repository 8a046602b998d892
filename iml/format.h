// Formats whose directives are checked when compiling.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace iml {

// One directive of a format. These are supported and print what printf prints, except for %c:
//   %s           with a width, left-aligned by '-', and with a precision, which cuts the text
//   %c           a zero character prints nothing
//   %d %u %x %X  with a width, left-aligned by '-' or padded with zeros by '0', and with a precision
//   %%
struct Directive {
  bool left = false;
  bool zeros = false;
  bool has_precision = false;
  unsigned width = 0;
  unsigned precision = 0;
  char conversion = '\0';
};

// The largest width of a directive, and the largest precision of a number.
inline constexpr unsigned kWidest = 32;

constexpr unsigned parse_number(const char *&p) {
  unsigned value = 0;
  while (*p >= '0' && *p <= '9') {
    value = value * 10 + static_cast<unsigned>(*p++ - '0');
  }
  return value;
}

// Reads the directive after a '%' and moves `p` past it, but not past the end of the format.
constexpr Directive parse_directive(const char *&p) {
  Directive directive;
  for (; *p == '-' || *p == '0'; ++p) {
    (*p == '-' ? directive.left : directive.zeros) = true;
  }
  directive.width = parse_number(p);
  if (*p == '.') {
    directive.has_precision = true;
    directive.precision = parse_number(++p);
  }
  directive.conversion = *p;
  if (*p != '\0') {
    ++p;
  }
  return directive;
}

// The kinds of arguments, by the directives that print them.
enum class ArgumentKind {
  kOther,
  kText,
  kCharacter,
  kSigned,    // %d
  kUnsigned,  // %u %x %X
  kSmall,     // unsigned and smaller than an int: all four
};

template <class T>
constexpr ArgumentKind kind_of() {
  if (std::is_same_v<T, const char *> || std::is_same_v<T, char *>) {
    return ArgumentKind::kText;
  }
  if (std::is_same_v<T, char>) {
    return ArgumentKind::kCharacter;
  }
  if (!std::is_integral_v<T> || std::is_same_v<T, bool> || sizeof(T) > sizeof(uint32_t)) {
    return ArgumentKind::kOther;
  }
  if (std::is_signed_v<T>) {
    return ArgumentKind::kSigned;
  }
  return sizeof(T) < sizeof(int) ? ArgumentKind::kSmall : ArgumentKind::kUnsigned;
}

// Whether the directive is supported and prints an argument of this kind.
constexpr bool directive_fits(const Directive &directive, ArgumentKind kind) {
  const bool padded = directive.left || directive.zeros || directive.has_precision || directive.width != 0;
  const bool number_fits = directive.width <= kWidest && directive.precision <= kWidest &&
                           !(directive.has_precision && directive.precision == 0);
  switch (directive.conversion) {
    case 's': return kind == ArgumentKind::kText && directive.width <= kWidest && !directive.zeros;
    case 'c': return kind == ArgumentKind::kCharacter && !padded;
    case 'd': return (kind == ArgumentKind::kSigned || kind == ArgumentKind::kSmall) && number_fits;
    case 'u':
    case 'x':
    case 'X': return (kind == ArgumentKind::kUnsigned || kind == ArgumentKind::kSmall) && number_fits;
    default: return false;
  }
}

// Whether the directives of a format print exactly `count` arguments of these kinds.
constexpr bool format_fits(const char *format, const ArgumentKind *kinds, size_t count) {
  size_t used = 0;
  for (const char *p = format; *p != '\0';) {
    if (*p++ != '%') {
      continue;
    }
    if (*p == '%') {
      ++p;
    } else if (used == count || !directive_fits(parse_directive(p), kinds[used++])) {
      return false;
    }
  }
  return used == count;
}

template <class... Args>
constexpr bool format_fits(const char *format) {
  const ArgumentKind kinds[] = {kind_of<Args>()..., ArgumentKind::kOther};
  return format_fits(format, kinds, sizeof...(Args));
}

// Not constexpr, so that calling it from a consteval constructor fails the build.
void format_does_not_fit_its_arguments();

// A format whose directives print arguments of the types `Args`. Any other format does not compile.
template <class... Args>
struct FormatString {
  consteval FormatString(const char *format) : literal(format) {
    if (!format_fits<Args...>(format)) {
      format_does_not_fit_its_arguments();
    }
  }

  const char *literal;
};

// A format for tables, which prints `Texts` texts. Any other format does not compile.
template <size_t Texts>
struct Wording {
  consteval Wording(const char *format) : literal(format) {
    ArgumentKind kinds[Texts + 1] = {};
    std::fill_n(kinds, Texts, ArgumentKind::kText);
    if (!format_fits(format, kinds, Texts)) {
      format_does_not_fit_its_arguments();
    }
  }

  const char *literal;
};

}  // namespace iml
