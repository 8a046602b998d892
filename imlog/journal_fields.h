// The journal's fields of an entry, which the formats export and journal have in common: lines NAME=value. No
// value has a line break, so none needs the journal's binary form.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "imlog/entry.h"
#include "imlog/output.h"

// Puts one field. `name` ends with the equals sign.
void put_field(std::string_view name, std::string_view value, Output &output);
void put_field(std::string_view name, uint64_t value, Output &output);

// Puts all fields of an entry but MESSAGE and those of the journal's own time. `host`, if there is one, has
// no control characters, and is put as `host_name`.
void put_entry_fields(const Entry &entry, bool in_utc, std::string_view host_name,
                      std::optional<std::string_view> host, Output &output);
