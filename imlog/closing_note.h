// Maintenance notes that close entries.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "iml/iml_record.h"

bool is_closing_note(const EVT_HEADER &header);

// The numbers of the entries that a closing note names after the word "closes", as in "closes 62, #0063 and
// 70". Nothing if its text does not have this word: it is about all entries before it.
std::optional<std::vector<uint32_t>> named_entries(const EVT_LOG_ENTRY &note);
