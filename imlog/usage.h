// The usage text.
#pragma once

extern const char kUsage[];
