// Records per second of TranslateEventLogMessage, for the sample server's log and for each class in it.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "iml/eventstr.h"

namespace {

void translate(benchmark::State &state, const std::vector<EVT_LOG_ENTRY> &records) {
  char text[256];
  for (auto _ : state) {
    for (const EVT_LOG_ENTRY &record : records) {
      TranslateEventLogMessage(&record, text, sizeof(text));
      benchmark::DoNotOptimize(text);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(records.size()));
}

}  // namespace

int main(int argc, char **argv) {
  std::ifstream file(SAMPLE_LOG, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), {});
  std::vector<EVT_LOG_ENTRY> mixed;
  std::map<uint16_t, std::vector<EVT_LOG_ENTRY>> by_class;
  for (size_t at = 0; at + sizeof(EVT_LOG_ENTRY) <= bytes.size(); at += sizeof(EVT_LOG_ENTRY)) {
    EVT_LOG_ENTRY record;
    bytes.copy(reinterpret_cast<char *>(&record), sizeof(record), at);
    char text[256];
    if (record.Hdr.wEvtLength == 0 || TranslateEventLogMessage(&record, text, sizeof(text)) == 0) {
      continue;  // a gap, or a class without event text
    }
    mixed.push_back(record);
    by_class[record.Hdr.wClass].push_back(record);
  }
  if (mixed.empty()) {
    fprintf(stderr, "No records in %s\n", SAMPLE_LOG);
    return 1;
  }
  benchmark::RegisterBenchmark("mixed", [&](benchmark::State &state) { translate(state, mixed); });
  for (const auto &[event_class, records] : by_class) {
    char name[16];
    snprintf(name, sizeof(name), "class_0x%02X", event_class);
    benchmark::RegisterBenchmark(name, [&](benchmark::State &state) { translate(state, records); });
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
