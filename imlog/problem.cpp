#include "imlog/problem.h"

#include <cstdio>
#include <utility>

std::string format_text(const char *format, va_list args) {
  va_list again;
  va_copy(again, args);
  const int length = vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(length > 0 ? static_cast<size_t>(length) + 1 : 1, '\0');
  vsnprintf(text.data(), text.size(), format, args);
  text.pop_back();  // the terminator
  return text;
}

Problem::Problem(const char *format, ...) {
  va_list args;
  va_start(args, format);
  what_ = format_text(format, args);
  va_end(args);
}

Problem &&Problem::advise(const char *format, ...) && {
  va_list args;
  va_start(args, format);
  advice_ = format_text(format, args);
  va_end(args);
  return std::move(*this);
}

Problem Problem::of_file(const char *path) const {
  Problem problem("'%s': %s", path, what_.c_str());
  problem.advice_ = advice_;
  return problem;
}
