// Texts of bounded size, the only place where the translator writes.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "iml/format.h"

namespace iml {

// The decimal digits of 0 to 99, two each.
inline constexpr char kDigitPairs[] =
    "0001020304050607080910111213141516171819"
    "2021222324252627282930313233343536373839"
    "4041424344454647484950515253545556575859"
    "6061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

inline char *write_digit_pair(char *to, size_t number) {
  memcpy(to, kDigitPairs + 2 * number, 2);
  return to + 2;
}

// The functions below write at `to`, but not past `end`: what does not fit is dropped. They return the end of
// what they have written.

char *put(char *to, char *end, const char *text, size_t length);

// Put the text of a piece, and an argument as its directive prints it.
char *put_piece(char *to, char *end, Piece piece, const char *format, const char *text);
char *put_number(char *to, char *end, Piece piece, const char *format, uint32_t number);

// A listing prints fourteen numbers of two or four digits for each entry. Inline, since a call for each
// would cost too much.
template <std::integral Number>
[[gnu::always_inline]] inline char *put_piece(char *to, char *end, Piece piece, const char *format,
                                              Number number) {
  const auto value = static_cast<uint32_t>(number);
  const bool is_decimal =
      piece.conversion == Conversion::kSigned || piece.conversion == Conversion::kUnsigned;
  const bool is_short = (piece.number == 2 && value < 100) || (piece.number == 4 && value < 10000);
  if (is_decimal && is_short && end - to >= piece.length + piece.number) {
    memcpy(to, format + piece.begin, piece.length);
    to += piece.length;
    if (piece.number == 4) {
      to = write_digit_pair(to, value / 100);
    }
    return write_digit_pair(to, value % 100);
  }
  return put_number(to, end, piece, format, value);
}

// A text that grows inside a buffer of fixed size. It is terminated after every call; what does not fit is
// dropped, so a text is cut once, at the buffer's size - 1 characters.
class EventText {
 public:
  // Starts an empty text in the `size` bytes at `buffer`. With a size of 0 nothing is written.
  EventText(char *buffer, uint32_t size)
      : begin_(size != 0 ? buffer : &no_room_), next_(begin_), end_(begin_ + (size != 0 ? size - 1 : 0)) {
    *begin_ = '\0';
  }

  EventText(const EventText &) = delete;
  EventText &operator=(const EventText &) = delete;

  // Appends the formatted text. Inline, so that the compiler knows the pieces.
  template <class... Args>
  [[gnu::always_inline]] void format(const FormatString<std::type_identity_t<Args>...> &format,
                                     Args... args) {
    char *to = next_;
    char *const end = end_;
    size_t i = 0;
    ((to = put_piece(to, end, format.pieces[i++], format.literal, args)), ...);
    const Piece last = format.pieces[i];
    finish(put(to, end, format.literal + last.begin, last.length));
  }

  // Appends a table's format, filled with `texts` in order.
  template <size_t Texts, size_t Least>
  void format(const Wording<Texts, Least> &wording, const std::array<const char *, Texts> &texts) {
    char *to = next_;
    const Piece *piece = wording.pieces;
    for (auto text = texts.begin(); piece->conversion != Conversion::kNone; ++piece, ++text) {
      to = put_piece(to, end_, *piece, wording.literal, *text);
    }
    finish(put(to, end_, wording.literal + piece->begin, piece->length));
  }

  // Appends a text as it is.
  void append(std::string_view text) {
    finish(put(next_, end_, text.data(), text.size()));
  }

  // True while no character is stored; always true when there is no room for one.
  [[nodiscard]] bool empty() const {
    return next_ == begin_;
  }

  // The text so far.
  [[nodiscard]] const char *c_str() const {
    return begin_;
  }

  [[nodiscard]] std::string_view view() const {
    return {begin_, static_cast<size_t>(next_ - begin_)};
  }

 private:
  void finish(char *next) {
    *next = '\0';
    next_ = next;
  }

  char no_room_ = '\0';  // in place of a buffer of size 0
  char *begin_;
  char *next_;
  char *end_;
};

// A text with its own buffer of `Size` bytes, terminator included.
template <size_t Size>
class OwnText : public EventText {
 public:
  OwnText() : EventText(room_, Size) {}

  // The same object. It lets a temporary be passed as a text to write to; the temporary lives until the end
  // of the full expression.
  EventText &here() {
    return *this;
  }

 private:
  char room_[Size];  // left uninitialised
};

// A part of a message. It holds the longest text that a payload can yield, with the words around it.
using Scratch = OwnText<320>;

}  // namespace iml
