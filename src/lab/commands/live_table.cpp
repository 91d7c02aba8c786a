#include "lab/commands/live_table.h"

#include <limits>

#include "lab/folder/run_folder.h"

namespace lab {

namespace {

constexpr std::size_t kKept = 36000;  // an hour at 10 Hz

}  // namespace

LiveTable::LiveTable(const std::vector<KeyInfo>& keys)
    : asked_(std::numeric_limits<double>::quiet_NaN()), delivered_(asked_) {
  for (const std::string& name : sample_columns(keys)) {
    table_.columns.push_back({.name = name, .unit = {}, .source = {}, .values = {}});
  }
  const std::size_t beside = table_.columns.size() - keys.size();
  for (std::size_t index = 0; index < keys.size(); ++index) {
    table_.columns[beside + index].unit = keys[index].unit;
    table_.columns[beside + index].source = keys[index].source;
  }
}

void LiveTable::add(const SampleRow& newest, double others) {
  if ((!table_.time_s.empty() && newest.time_s <= table_.time_s.back()) ||
      newest.keys.size() + 4 != table_.columns.size()) {
    return;
  }
  if (table_.time_s.size() == 2 * kKept) {
    const auto oldest = [](std::vector<double>& values) {
      values.erase(values.begin(), values.begin() + kKept);
    };
    oldest(table_.time_s);
    for (Column& column : table_.columns) {
      oldest(column.values);
    }
    dropped_ += kKept;
  }
  std::vector<double> values{static_cast<double>(newest.phase), asked_, delivered_, others};
  values.insert(values.end(), newest.keys.begin(), newest.keys.end());
  table_.time_s.push_back(newest.time_s);
  for (std::size_t index = 0; index < values.size(); ++index) {
    table_.columns[index].values.push_back(values[index]);
  }
}

}  // namespace lab
