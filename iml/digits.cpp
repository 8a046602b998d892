#include "iml/digits.h"

#include <algorithm>
#include <iterator>

namespace iml {

char *write_decimal(char *to, uint32_t number, unsigned least) {
  static constexpr uint32_t kPowers[] = {1,      10,      100,      1000,      10000,
                                         100000, 1000000, 10000000, 100000000, 1000000000};
  unsigned size = std::max(least, 1U);
  while (size < std::size(kPowers) && number >= kPowers[size]) {
    ++size;
  }
  char *first = to + size;
  for (; first - to >= 2; number /= 100) {
    first -= 2;
    write_digit_pair(first, number);
  }
  if (first != to) {
    *to = static_cast<char>('0' + number);
  }
  return to + size;
}

}  // namespace iml
