#include "lab/folder/recovery.h"

#include <fstream>
#include <functional>
#include <limits>
#include <optional>

#include "lab/folder/delivery_reader.h"
#include "lab/folder/run.h"
#include "lab/folder/run_folder.h"
#include "lab/folder/sample_rows.h"
#include "lab/folder/stimulus_reader.h"

namespace lab {

namespace {

namespace fs = std::filesystem;

/// Hands each whole line of a file to `use`. Returns whether there is such a file.
bool each_line(const fs::path& path, const std::function<void(std::string_view line)>& use) {
  std::ifstream file(path);
  if (!file) {
    return false;
  }
  for (std::string line; std::getline(file, line);) {
    if (!file.eof()) {  // the last line of a killed engine may be half a line
      use(line);
    }
  }
  return true;
}

/// The instant of a record's first sample.
std::optional<std::int64_t> first_sample_ns(const fs::path& record) {
  std::ifstream file(record);
  for (std::string line; std::getline(file, line);) {
    if (const RecordLine words(line); words.keyword() == "sample" && !file.eof()) {
      return words.whole(0);
    }
  }
  return std::nullopt;
}

/// The phase that a start of the engine began with; nothing if that is not known.
std::optional<int> first_phase_of(const RunInfo& info, std::size_t start) {
  for (std::size_t phase = 0; phase < info.phases.size(); ++phase) {
    if (info.phases[phase].engine_start == static_cast<int>(start)) {
      return static_cast<int>(phase);
    }
  }
  return start == 0 ? std::optional(0) : std::nullopt;
}

/// Adds those of the rows that are later than all that the run has.
void add_later(const std::vector<SampleRow>& rows, Run& run) {
  Table& table = run.samples;
  if (table.columns.empty()) {
    for (const std::string& name : sample_columns(run.info.keys)) {
      table.columns.push_back({.name = name, .unit = {}, .source = {}, .values = {}});
    }
  }
  for (const SampleRow& row : rows) {
    if (row.keys.size() + 4 != table.columns.size() ||
        (!table.time_s.empty() && row.time_s <= table.time_s.back())) {
      continue;
    }
    table.time_s.push_back(row.time_s);
    std::vector<double> values{static_cast<double>(row.phase), row.asked, row.delivered,
                               std::numeric_limits<double>::quiet_NaN()};
    values.insert(values.end(), row.keys.begin(), row.keys.end());
    for (std::size_t column = 0; column < values.size(); ++column) {
      table.columns[column].values.push_back(values[column]);
    }
  }
}

}  // namespace

void read_delivery(const RunFolder& folder, Run& run) {
  DeliveryReader reader;
  StimulusReader stimulus;
  for (std::size_t start = 0;; ++start) {
    if (!each_line(folder.stimulus(start), [&](std::string_view text) {
          const RecordLine line(text);
          reader.add(line);
          stimulus.add(line);
        })) {
      break;
    }
  }
  run.delivery = reader.delivery();
  run.stimulus = stimulus.stimulus();
}

void recover_rows(const RunFolder& folder, Run& run) {
  std::optional<std::int64_t> zero_ns;
  for (std::size_t start = 0; fs::exists(folder.stimulus(start)); ++start) {
    const std::optional<int> first_phase = first_phase_of(run.info, start);
    if (fs::exists(folder.engine_samples(start)) && first_phase) {
      SampleRows rows({.zero_ns = zero_ns,
                       .first_phase = *first_phase,
                       .processors = std::max(1, run.info.processors)});
      each_line(folder.stimulus(start),
                [&](std::string_view line) { rows.add_record(RecordLine(line)); });
      each_line(folder.engine_samples(start),
                [&](std::string_view line) { rows.add_sample(line); });
      add_later(rows.take(true), run);
      zero_ns = rows.zero_ns();
    }
    if (!zero_ns) {
      zero_ns = first_sample_ns(folder.stimulus(start));
    }
  }
}

}  // namespace lab
