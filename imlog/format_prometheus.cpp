// Metrics for the textfile collector of node_exporter.
#include <cinttypes>
#include <map>
#include <optional>
#include <utility>

#include "iml/class_names.h"
#include "imlog/format.h"

namespace {

class PrometheusFormat : public Format {
 public:
  using Format::Format;

  void print_entry(const Entry &entry, Output & /*output*/) override {
    if (can_alarm(entry.severity)) {
      open_.try_emplace(class_of(entry.record.Hdr));
    }
    Total &total = totals_[entry.severity];
    ++total.entries;
    if (entry.last.is_valid && (!total.last || *total.last < entry.last.instant)) {
      total.last = entry.last.instant;
    }
  }

  void count_unserviced(const EVT_HEADER &header) override {
    if (can_alarm(severity_rank(header.bSeverity))) {
      ++open_[class_of(header)];
    }
  }

  void report_clock_set_back(const Log & /*log*/, uint32_t /*number*/) override {
    is_clock_set_back_ = true;
  }

  int finish(const Reading &reading, Output &output) override {
    // Without anything read, zeros would clear an alert.
    if (!reading.problem.is_set() || reading.records != 0) {
      put_totals(output);
      put_open(output);
      put_head("iml_clock_set_back", "Whether an entry shows that the clock was set back.", output);
      output.put(is_clock_set_back_ ? "iml_clock_set_back 1\n" : "iml_clock_set_back 0\n");
    }
    put_head("iml_build_info", "The version of imlog.", output);
    output.put("iml_build_info{version=\"" IMLOG_VERSION "\"} 1\n");
    put_head("iml_read_success", "Whether the log was read to its end.", output);
    output.put(reading.problem.is_set() ? "iml_read_success 0\n" : "iml_read_success 1\n");
    return Format::finish(reading, output);
  }

 private:
  struct Total {
    uint64_t entries = 0;
    std::optional<int64_t> last;  // time of the latest update
  };

  // Entries of the other severities are open forever, and no alert needs their series.
  static bool can_alarm(SeverityRank severity) {
    return severity == kCaution || severity == kCritical || severity == kUnknown;
  }

  // The severity and the class of an entry, in the order of the metrics: classes without a name come last.
  using ClassKey = std::pair<SeverityRank, uint16_t>;
  static constexpr uint16_t kNoName = UINT16_MAX;  // stands for all of them

  static ClassKey class_of(const EVT_HEADER &header) {
    const bool has_name = iml::class_name(header.wClass, nullptr) != nullptr;
    return {severity_rank(header.bSeverity), has_name ? header.wClass : kNoName};
  }

  void put_open(Output &output) const {
    if (open_.empty()) {
      return;
    }
    put_head("iml_unserviced_entries", "Entries that no maintenance note has closed.", output);
    for (const auto &[key, entries] : open_) {
      output.print("iml_unserviced_entries{severity=\"%s\",class=\"%s\"} %" PRIu64 "\n",
                   kSeverityNames[key.first].in_fields, iml::class_name(key.second), entries);
    }
  }

  void put_totals(Output &output) const {
    put_head("iml_entries", "Entries of the Integrated Management Log.", output);
    bool has_time = false;
    for (int severity = 0; severity < kSeverities; ++severity) {
      output.print("iml_entries{severity=\"%s\"} %" PRIu64 "\n", kSeverityNames[severity].in_fields,
                   totals_[severity].entries);
      has_time = has_time || totals_[severity].last;
    }
    if (!has_time) {
      return;
    }
    put_head("iml_last_timestamp_seconds", "Time of the latest update of an entry.", output);
    for (int severity = 0; severity < kSeverities; ++severity) {
      if (const std::optional<int64_t> last = totals_[severity].last) {
        output.print("iml_last_timestamp_seconds{severity=\"%s\"} %" PRId64 "\n",
                     kSeverityNames[severity].in_fields, *last);
      }
    }
  }

  static void put_head(const char *name, const char *help, Output &output) {
    output.print("# HELP %s %s\n# TYPE %s gauge\n", name, help, name);
  }

  Total totals_[kSeverities];
  std::map<ClassKey, uint64_t> open_;
  bool is_clock_set_back_ = false;
};

}  // namespace

const FormatRow kPrometheusFormat = {
    .name = "prometheus",
    .make = make_format<PrometheusFormat>,
    .traits = kCountsUnserviced,
};
