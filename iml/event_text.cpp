#include "iml/event_text.h"

#include <algorithm>

namespace iml {

char *put(char *to, char *end, const char *text, size_t length) {
  length = std::min(length, static_cast<size_t>(end - to));
  memcpy(to, text, length);
  return to + length;
}

char *put_piece(char *to, char *end, Piece piece, const char *format, const char *text) {
  static constexpr char kBlanks[] = "                ";
  static_assert(sizeof(kBlanks) > kWidest);
  to = put(to, end, format + piece.begin, piece.length);
  const size_t length = piece.conversion == Conversion::kCutText ? strnlen(text, piece.number) : strlen(text);
  to = put(to, end, text, length);
  if (piece.conversion == Conversion::kPaddedText && length < piece.number) {
    to = put(to, end, kBlanks, piece.number - length);
  }
  return to;
}

char *put_number(char *to, char *end, Piece piece, const char *format, uint32_t number) {
  to = put(to, end, format + piece.begin, piece.length);
  if (piece.conversion == Conversion::kSigned && static_cast<int32_t>(number) < 0) {
    to = put(to, end, "-", 1);
    number = 0 - number;
  }
  const char *const digits =
      piece.conversion == Conversion::kLowerHex ? "0123456789abcdef" : "0123456789ABCDEF";
  const bool is_hex = piece.conversion == Conversion::kLowerHex || piece.conversion == Conversion::kUpperHex;
  char text[kWidest];
  char *const last = text + sizeof(text);
  char *first = last;
  do {
    *--first = digits[is_hex ? number % 16 : number % 10];
    number = is_hex ? number / 16 : number / 10;
  } while (number != 0 || last - first < piece.number);
  return put(to, end, first, static_cast<size_t>(last - first));
}

}  // namespace iml
