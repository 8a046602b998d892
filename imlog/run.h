// One run: reads, filters and prints the log, once or repeatedly. All functions return the exit status.
#pragma once

#include <string_view>

#include "imlog/options.h"

int run(Options &options, Calendar &calendar);

// Prints only `text`.
int print_text(std::string_view text, const FormatRow &row);

// Reports a problem where the format wants it: on standard error, with `status` as the result, or in the line
// of a check, with kCheckUnknown.
int end_with_problem(const Problem &problem, const FormatRow &row, int status);
