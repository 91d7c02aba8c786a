#include "lab/folder/recovery.h"

#include <fstream>
#include <functional>
#include <limits>

#include "lab/folder/delivery_reader.h"
#include "lab/folder/run.h"
#include "lab/folder/run_folder.h"
#include "lab/folder/sample_rows.h"

namespace lab {

namespace {

/// Hands each whole line of a file to `use`. Returns whether there is such a file.
bool each_line(const std::filesystem::path& path,
               const std::function<void(std::string_view line)>& use) {
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

}  // namespace

void read_delivery(const RunFolder& folder, Run& run) {
  DeliveryReader reader;
  for (std::size_t start = 0;; ++start) {
    if (!each_line(folder.stimulus(start),
                   [&](std::string_view line) { reader.add(RecordLine(line)); })) {
      break;
    }
  }
  run.delivery = reader.delivery();
}

void recover_rows(const RunFolder& folder, Run& run) {
  SampleRows rows(
      {.zero_ns = std::nullopt, .first_phase = 0, .processors = std::max(1, run.info.processors)});
  std::size_t starts = 0;
  while (std::filesystem::exists(folder.stimulus(starts))) {
    ++starts;
  }
  if (starts != 1) {
    return;  // which phase the last start began with is not written anywhere
  }
  each_line(folder.stimulus(), [&](std::string_view line) { rows.add_record(RecordLine(line)); });
  each_line(folder.engine_samples(), [&](std::string_view line) { rows.add_sample(line); });
  Table& table = run.samples;
  if (table.columns.empty()) {
    for (const std::string& name : sample_columns(run.info.keys)) {
      table.columns.push_back({.name = name, .unit = {}, .source = {}, .values = {}});
    }
  }
  const std::vector<SampleRow> all = rows.take(true);
  for (std::size_t index = table.time_s.size(); index < all.size(); ++index) {
    const SampleRow& row = all[index];
    if (row.keys.size() + 4 != table.columns.size()) {
      return;
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

}  // namespace lab
