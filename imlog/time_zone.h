// The zone that TZ names.
#pragma once

#include "imlog/problem.h"

// Not set if the C library can follow TZ, or TZ is not set or empty. The library silently takes any
// other value for UTC.
Problem check_time_zone();
