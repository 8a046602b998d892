// Formats that the compiler checks and parses.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace iml {

// The directives, which print what printf prints:
//   %s %-8s %.8s    a text, padded to 8 characters, or cut there
//   %d %.4d         a number with a sign, of at least 4 digits
//   %u %04u         a number without one; the same for %x and %X
enum class Conversion : uint8_t {
  kNone,
  kText,
  kPaddedText,
  kCutText,
  kSigned,
  kUnsigned,
  kLowerHex,
  kUpperHex
};

// A piece of a format: text, and the directive after it. The last piece of a format has no directive.
struct Piece {
  uint16_t begin = 0;  // of the text in the format
  uint16_t length = 0;
  Conversion conversion = Conversion::kNone;
  uint8_t number = 0;  // the directive's width, precision or least number of digits
};

// The largest number in a directive.
inline constexpr unsigned kWidest = 16;

// The kinds of arguments, by the directives that print them.
enum class ArgumentKind {
  kOther,
  kText,
  kSigned,    // %d
  kUnsigned,  // %u %x %X
  kSmall,     // unsigned and smaller than an int: all four
};

template <class T>
constexpr ArgumentKind kind_of() {
  if (std::is_same_v<T, const char *> || std::is_same_v<T, char *>) {
    return ArgumentKind::kText;
  }
  if (!std::is_integral_v<T> || std::is_same_v<T, bool> || std::is_same_v<T, char> ||
      sizeof(T) > sizeof(uint32_t)) {
    return ArgumentKind::kOther;
  }
  if (std::is_signed_v<T>) {
    return ArgumentKind::kSigned;
  }
  return sizeof(T) < sizeof(int) ? ArgumentKind::kSmall : ArgumentKind::kUnsigned;
}

// Reads the directive after a '%' and moves `p` past it. Returns whether it prints an argument of this kind.
constexpr bool parse_directive(const char *&p, ArgumentKind kind, Piece &piece) {
  const char flag = *p == '-' || *p == '.' || *p == '0' ? *p++ : '\0';
  unsigned number = 0;
  while (*p >= '0' && *p <= '9') {
    number = number * 10 + static_cast<unsigned>(*p++ - '0');
  }
  if ((flag == '\0') != (number == 0) || number > kWidest) {
    return false;
  }
  piece.number = static_cast<uint8_t>(number);
  const bool is_unsigned =
      (kind == ArgumentKind::kUnsigned || kind == ArgumentKind::kSmall) && flag != '-' && flag != '.';
  switch (*p++) {
    case 's':
      piece.conversion = flag == '-'   ? Conversion::kPaddedText
                         : flag == '.' ? Conversion::kCutText
                                       : Conversion::kText;
      return kind == ArgumentKind::kText && flag != '0';
    case 'd':
      piece.conversion = Conversion::kSigned;
      return (kind == ArgumentKind::kSigned || kind == ArgumentKind::kSmall) && flag != '-' && flag != '0';
    case 'u': piece.conversion = Conversion::kUnsigned; return is_unsigned;
    case 'x': piece.conversion = Conversion::kLowerHex; return is_unsigned;
    case 'X': piece.conversion = Conversion::kUpperHex; return is_unsigned;
    default: return false;
  }
}

// Splits a format into `pieces`, one more than it has directives. Returns whether these print the arguments
// of these kinds, `least` of them or more, up to `most`.
constexpr bool parse_format(const char *format, const ArgumentKind *kinds, size_t least, size_t most,
                            Piece *pieces) {
  const char *p = format;
  for (size_t used = 0;; ++used) {
    const char *const begin = p;
    while (*p != '%' && *p != '\0') {
      ++p;
    }
    pieces[used].begin = static_cast<uint16_t>(begin - format);
    pieces[used].length = static_cast<uint16_t>(p - begin);
    if (*p == '\0') {
      return used >= least;
    }
    if (used == most || !parse_directive(++p, kinds[used], pieces[used])) {
      return false;
    }
  }
}

// Not constexpr, so that calling it from a consteval constructor fails the build.
void format_does_not_fit_its_arguments();

// A format whose directives print arguments of the types `Args`. Any other format does not compile.
template <class... Args>
struct FormatString {
  consteval FormatString(const char *format) : literal(format) {
    const ArgumentKind kinds[] = {kind_of<Args>()..., ArgumentKind::kOther};
    if (!parse_format(format, kinds, sizeof...(Args), sizeof...(Args), pieces)) {
      format_does_not_fit_its_arguments();
    }
  }

  const char *literal;
  Piece pieces[sizeof...(Args) + 1] = {};
};

// A format for tables, which prints `Texts` texts, or the first `Least` of them or more. Any other format
// does not compile.
template <size_t Texts, size_t Least = Texts>
struct Wording {
  consteval Wording(const char *format) : literal(format) {
    ArgumentKind kinds[Texts + 1] = {};
    std::fill_n(kinds, Texts, ArgumentKind::kText);
    if (!parse_format(format, kinds, Least, Texts, pieces)) {
      format_does_not_fit_its_arguments();
    }
  }

  const char *literal;
  Piece pieces[Texts + 1] = {};
};

}  // namespace iml
