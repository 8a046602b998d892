// Decimal digits, for the translator and for programs that print the numbers of an entry. It needs nothing
// else of the translator.
#pragma once

#include <cstdint>
#include <cstring>

namespace iml {

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

// The functions below write at `to` and return the end of the digits, which are not terminated.

// Writes the last two digits.
inline char *write_digit_pair(char *to, unsigned number) {
  memcpy(to, kDigitPairs.digits[number % 100], 2);
  return to + 2;
}

// Writes at least `least` digits.
char *write_decimal(char *to, uint32_t number, unsigned least);

// Writes at least two digits. Inline because a listing writes a dozen such numbers for each entry.
inline char *write_two_digits(char *to, uint8_t number) {
  return number < 100 ? write_digit_pair(to, number) : write_decimal(to, number, 2);
}

}  // namespace iml
