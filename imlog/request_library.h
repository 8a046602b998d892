// The maker's request library, loaded at run time: only the live log needs it.
#pragma once

#include "imlog/problem.h"

// Loads the library for the rest of the run. Its functions must not be called before that.
Problem load_request_library();
