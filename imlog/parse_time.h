// The times and numbers of the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "imlog/calendar.h"

// The forms of a time, for the help and messages.
inline constexpr char kTimeForms[] =
    "2025-09-01, '2025-09-01 13:05', 2025-09-01T13:05:00, 2025-09-01T13:05:00+02:00, 2025-09-01T11:05Z, "
    "@1756724700, now, today, yesterday, -30m, -12h, -7d or -2w";

// A whole number of at most `most`: decimal, or with "0x" where `hexadecimal` allows it. Nothing if `text` is
// anything else.
std::optional<uint64_t> parse_number(std::string_view text, uint64_t most, bool hexadecimal = false);

// The seconds of a span such as "30m", "12h", "7d" or "2w". Nothing if it has another form.
std::optional<int64_t> parse_span(std::string_view text);

// A time in one of kTimeForms; "-7d" is counted back from `now`. Nothing if it has another form, or if there
// is no such time in the years 1970 to 9999.
std::optional<int64_t> parse_time(std::string_view text, int64_t now, Calendar &calendar);
