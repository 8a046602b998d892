// Texts of bounded size, the only place where the translator writes, and formats that are checked when
// compiling.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace iml {

// One directive of a format. The known ones, which print what printf prints:
//   %s with a width, also to the left ('-'), and a precision, which cuts the text
//   %c, where a zero character prints nothing
//   %d %u %x %X with a width, padded by blanks, also to the left, or by zeros ('0'), or with a precision
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

// True if the directive is known and prints an argument of this kind.
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

// True if the directives of a format print exactly `count` arguments of these kinds.
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

// Not constexpr on purpose: calling it from a consteval constructor fails the build.
void format_does_not_fit_its_arguments();

// A format whose directives print arguments of the types `Args`. Another one does not compile.
template <class... Args>
struct Format {
  consteval Format(const char *format) : literal(format) {
    if (!format_fits<Args...>(format)) {
      format_does_not_fit_its_arguments();
    }
  }

  const char *literal;
};

// A format kept in a table: it prints `Texts` texts.
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

// An argument of any kind. Only the directive knows which kind it is.
class Argument {
 public:
  constexpr Argument() : text_(nullptr) {}
  constexpr Argument(const char *text) : text_(text) {}
  template <class T>
  requires std::is_integral_v<T>
  constexpr Argument(T number) : number_(static_cast<uint32_t>(number)) {}

  [[nodiscard]] constexpr const char *text() const {
    return text_;
  }
  // Also a character, and a negative number in two's complement.
  [[nodiscard]] constexpr uint32_t number() const {
    return number_;
  }

 private:
  union {
    const char *text_;
    uint32_t number_;
  };
};

// The decimal digits of 0 to 99, two each.
struct DigitPairs {
  consteval DigitPairs() : digits() {
    for (unsigned i = 0; i < 100; ++i) {
      digits[i][0] = static_cast<char>('0' + i / 10);
      digits[i][1] = static_cast<char>('0' + i % 10);
    }
  }
  char digits[100][2];
};
inline constexpr DigitPairs kDigitPairs;

// Writes a number in decimal with at least `least` digits, at most kWidest. Returns the end of what it has
// written; nothing is terminated.
char *write_decimal(char *to, uint32_t number, unsigned least);

// The same for least two digits: a listing has a dozen such numbers in each entry.
inline char *write_two_digits(char *to, uint8_t number) {
  if (number >= 100) {
    return write_decimal(to, number, 2);
  }
  memcpy(to, kDigitPairs.digits[number], 2);
  return to + 2;
}

// A text that grows inside a buffer of fixed size. It is terminated after every call; what does not fit is
// dropped, so a text is cut once, at the buffer's size - 1 characters.
class EventText {
 public:
  // Starts an empty text in the `size` bytes at `buffer`. With a size of 0 nothing is ever written.
  EventText(char *buffer, uint32_t size) : buffer_(buffer), length_(0), size_(size) {
    if (size != 0) {
      *buffer = '\0';
    }
  }

  EventText(const EventText &) = delete;
  EventText &operator=(const EventText &) = delete;

  // Appends the formatted text.
  template <class... Args>
  void format(Format<std::type_identity_t<Args>...> checked, Args... args) {
    const Argument arguments[] = {args..., Argument()};
    write(checked.literal, arguments);
  }

  // Appends a table's format, filled with `texts` in order.
  template <size_t Texts>
  void format(const Wording<Texts> &wording, const std::array<const char *, Texts> &texts) {
    Argument arguments[Texts + 1];
    std::copy(texts.begin(), texts.end(), arguments);
    write(wording.literal, arguments);
  }

  // Appends a text as it is.
  void append(std::string_view text);

  // True if nothing has been stored.
  [[nodiscard]] bool empty() const {
    return length_ == 0;
  }

  // The text so far; null when there is no buffer.
  [[nodiscard]] const char *c_str() const {
    return buffer_;
  }

  [[nodiscard]] std::string_view view() const {
    return {buffer_, length_};
  }

 private:
  void write(const char *format, const Argument *argument);
  void append_number(const Directive &directive, uint32_t magnitude, bool negative);
  void append_padded(const Directive &directive, std::string_view text);

  char *buffer_;
  uint32_t length_;
  uint32_t size_;
};

// A text with room of its own for `Size` bytes, terminator included.
template <size_t Size>
class OwnText : public EventText {
 public:
  OwnText() : EventText(room_, Size) {}

  // Makes a temporary an argument that is written to. It lives until the end of the full expression.
  EventText &here() {
    return *this;
  }

 private:
  char room_[Size];  // left uninitialised
};

// A part of a message. It holds the longest text that a payload can yield, with the words around it.
using Scratch = OwnText<320>;

}  // namespace iml
