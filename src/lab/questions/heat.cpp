#include "lab/questions/heat.h"

#include <algorithm>

namespace lab {

std::string power_column(const Run& run) {
  if (!run.plan.power.empty()) {
    return run.plan.power;
  }
  constexpr const char* kPackage = "PC0C";
  if (run.samples.find(kPackage) != nullptr) {
    return kPackage;
  }
  const auto found = std::find_if(run.samples.columns.begin(), run.samples.columns.end(),
                                  [](const Column& column) { return column.unit == "W"; });
  return found == run.samples.columns.end() ? "" : found->name;
}

StepInput heat_and_temperatures(const Run& run) {
  StepInput input;
  input.time_s = run.samples.time_s;
  const Column* power = run.samples.find(power_column(run));
  const Column* heat = power != nullptr ? power : run.samples.find(kDeliveredColumn);
  input.heat_is_power = power != nullptr;
  if (heat != nullptr) {
    input.heat = heat->values;
    input.heat_name = heat->name;
  }
  for (const Column& column : run.samples.columns) {
    if (column.unit == "degC") {
      input.temperatures.push_back(column);
    } else if (&column != heat) {
      input.beside.push_back(column);
    }
  }
  return input;
}

}  // namespace lab
