// The records themselves, as a FILE holds them.
#include "imlog/format.h"

namespace {

class RawFormat : public Format {
 public:
  using Format::Format;

  void print_entry(const Entry &entry, Output &output) override {
    output.put(std::string_view(reinterpret_cast<const char *>(&entry.record), sizeof(entry.record)));
  }
};

}  // namespace

const FormatRow kRawFormat = {
    .name = "raw",
    .make = make_format<RawFormat>,
    .traits = kRemembers,
};
