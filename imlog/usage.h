// What --help and --version print.
#pragma once

#include <string>

// The help, of lines of at most 80 characters, made from the tables of options, formats and exit statuses.
std::string usage_text();

std::string version_text();
