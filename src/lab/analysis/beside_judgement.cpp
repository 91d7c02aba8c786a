#include "lab/analysis/beside_judgement.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "lab/analysis/spoken_number.h"
#include "lab/data/values.h"

namespace lab {

namespace {

const Column* find(const std::vector<Column>& columns, std::string_view name) {
  const auto found = std::find_if(columns.begin(), columns.end(),
                                  [&](const Column& column) { return column.name == name; });
  return found == columns.end() ? nullptr : &*found;
}

}  // namespace

std::string judge_fan(const Column& column) {
  const std::vector<double> speeds = finite_values(column.values);
  if (column.unit != "RPM" || speeds.size() < 2) {
    return "";
  }
  const double low = share_below(speeds, 0.05);
  const double high = share_below(speeds, 0.95);
  if (high - low <= 0.1 * high) {
    return "";
  }
  return column.name + " ran between " + spoken_number(low) + " and " + spoken_number(high) +
         " RPM.";
}

std::vector<std::string> judge_load(const std::vector<Column>& columns) {
  std::vector<std::string> warnings;
  const Column* asked = find(columns, kAskedColumn);
  const Column* delivered = find(columns, kDeliveredColumn);
  if (asked != nullptr && delivered != nullptr) {
    double asked_sum = 0;
    double delivered_sum = 0;
    for (std::size_t at = 0; at < asked->values.size(); ++at) {
      if (std::isfinite(asked->values[at]) && std::isfinite(delivered->values[at])) {
        asked_sum += asked->values[at];
        delivered_sum += delivered->values[at];
      }
    }
    if (asked_sum > 0 && delivered_sum < 0.9 * asked_sum) {
      warnings.push_back("Only " + spoken_number(100 * delivered_sum / asked_sum, 2) +
                         " % of the load that was asked for was delivered. Leave the processors "
                         "to the run.");
    }
  }
  const Column* others = find(columns, kOthersColumn);
  if (others != nullptr) {
    const std::vector<double> loads = finite_values(others->values);
    if (!loads.empty() && share_below(loads, 0.9) > 0.1) {
      warnings.push_back("Other programs took up to " +
                         spoken_number(100 * share_below(loads, 0.9), 2) +
                         " % of the processors. Stop them.");
    }
  }
  return warnings;
}

}  // namespace lab
