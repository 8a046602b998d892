// The log's times.
#pragma once

#include <ctime>

#include "iml/iml_record.h"

// The stamp of a local time of the years 0 to 9999. It has no seconds.
inline EVT_TIME_STAMP to_stamp(const tm &local) {
  const int year = local.tm_year + 1900;
  return {static_cast<uint8_t>(year / 100),       static_cast<uint8_t>(year % 100),
          static_cast<uint8_t>(local.tm_mon + 1), static_cast<uint8_t>(local.tm_mday),
          static_cast<uint8_t>(local.tm_hour),    static_cast<uint8_t>(local.tm_min)};
}
