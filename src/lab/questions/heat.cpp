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

double full_load(const Run& run) {
  const int threads = run.delivery.threads;
  const int processors = run.info.processors;
  return threads > 0 && threads < processors
             ? static_cast<double>(threads) / static_cast<double>(processors)
             : 1;
}

StepInput heat_and_temperatures(const Run& run) {
  StepInput input;
  input.time_s = run.samples.time_s;
  const Column* power = run.samples.find(power_column(run));
  const Column* heat = power != nullptr ? power : run.samples.find(kDeliveredColumn);
  input.full_load = full_load(run);
  input.heat_is_power = power != nullptr;
  input.structure = run.plan.structure;
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
