// A failure, in words. The exit status follows from where it is reported.
#pragma once

#include <cstdarg>
#include <string>

// The text that printf would print.
[[gnu::format(printf, 1, 0)]] std::string format_text(const char *format, va_list args);

class Problem {
 public:
  // No problem.
  Problem() = default;

  // The failure and its reason.
  [[gnu::format(printf, 2, 3)]] explicit Problem(const char *format, ...);

  // Adds the value that it failed on and what to do. The line of a check leaves this part out.
  [[gnu::format(printf, 2, 3)]] Problem &&advise(const char *format, ...) &&;

  // The same problem, with the name of the file that has it.
  [[nodiscard]] Problem of_file(const char *path) const;

  [[nodiscard]] bool is_set() const {
    return !what_.empty();
  }
  [[nodiscard]] const std::string &what() const {
    return what_;
  }
  [[nodiscard]] const std::string &advice() const {
    return advice_;
  }

 private:
  std::string what_;
  std::string advice_;
};
