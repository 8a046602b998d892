// Metrics for the textfile collector of node_exporter.
#include <cstdlib>
#include <optional>

#include "imlog/format.h"

namespace {

class PrometheusFormat : public Format {
 public:
  void print_entry(const Entry &entry, Output & /*output*/) override {
    Total &total = totals_[entry.severity];
    ++total.entries;
    if (entry.last.is_valid && (!total.last || *total.last < entry.last.instant)) {
      total.last = entry.last.instant;
    }
  }

  int finish(const Reading &reading, Output &output) override {
    // Where nothing could be read, zeros would clear an alert.
    if (!reading.problem.is_set() || reading.records != 0) {
      put_totals(output);
    }
    put_head("iml_read_success", "Whether the log was read to its end.", output);
    output.put(reading.problem.is_set() ? "iml_read_success 0\n" : "iml_read_success 1\n");
    return kSuccess;
  }

 private:
  struct Total {
    uint64_t entries = 0;
    std::optional<int64_t> last;  // time of the latest update
  };

  void put_totals(Output &output) const {
    put_head("iml_entries", "Entries of the Integrated Management Log.", output);
    bool has_time = false;
    for (int severity = 0; severity < kSeverities; ++severity) {
      put_name("iml_entries", severity, output);
      output.put_number(totals_[severity].entries);
      output.put('\n');
      has_time = has_time || totals_[severity].last;
    }
    if (!has_time) {
      return;
    }
    put_head("iml_last_timestamp_seconds", "Time of the latest update of an entry.", output);
    for (int severity = 0; severity < kSeverities; ++severity) {
      if (const std::optional<int64_t> last = totals_[severity].last) {
        put_name("iml_last_timestamp_seconds", severity, output);
        output.put(*last < 0 ? "-" : "");
        output.put_number(static_cast<uint64_t>(std::llabs(*last)));
        output.put('\n');
      }
    }
  }

  static void put_head(std::string_view name, std::string_view help, Output &output) {
    output.put("# HELP ");
    output.put(name);
    output.put(' ');
    output.put(help);
    output.put("\n# TYPE ");
    output.put(name);
    output.put(" gauge\n");
  }
  static void put_name(std::string_view name, int severity, Output &output) {
    output.put(name);
    output.put("{severity=\"");
    output.put(kSeverityTable[severity].name);
    output.put("\"} ");
  }

  Total totals_[kSeverities];
};

}  // namespace

const FormatRow kPrometheusFormat = {
    "prometheus",
    [](const FormatContext &) -> std::unique_ptr<Format> { return std::make_unique<PrometheusFormat>(); },
    kWholeLog,
    nullptr,
};
