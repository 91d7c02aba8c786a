#include "lab/analysis/comparison_charts.h"

#include <algorithm>

namespace lab {

namespace {

constexpr const char* kResiduals = "Residuals";

// More than that is a cloud, in which nothing is seen of another one.
constexpr std::size_t kMostPoints = 200;

/// Charts whose curves may be laid over each other. The note says what the places of a sweep over
/// loads mean.
bool alike(const Chart& one, const Chart& other) {
  return one.title == other.title && one.x_label == other.x_label && one.y_label == other.y_label &&
         one.note == other.note;
}

bool wanted(const Series& series, const std::vector<std::string>& keys) {
  return keys.empty() || std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
           return series.name == key || series.name.starts_with(key + " ");
         });
}

}  // namespace

std::vector<Chart> charts_over_each_other(const std::vector<ComparedRun>& runs,
                                          const std::vector<std::string>& keys) {
  std::vector<Chart> merged;
  std::vector<std::size_t> owners;
  for (const ComparedRun& run : runs) {
    for (const Chart& chart : run.answer.charts) {
      if (chart.title == kResiduals) {
        continue;
      }
      auto into = std::find_if(merged.begin(), merged.end(),
                               [&](const Chart& each) { return alike(each, chart); });
      if (into == merged.end()) {
        into = merged.insert(merged.end(), chart);
        into->series.clear();
        owners.push_back(0);
      }
      owners[static_cast<std::size_t>(into - merged.begin())] += 1;
      for (const Series& series : chart.series) {
        const bool cloud = series.style == Series::Style::points && series.x.size() > kMostPoints;
        if (!cloud && wanted(series, keys)) {
          into->series.push_back(series);
          into->series.back().name = run.name + ": " + series.name;
        }
      }
    }
  }
  std::vector<Chart> shared;
  for (std::size_t at = 0; at < merged.size(); ++at) {
    if (owners[at] > 1 && !merged[at].series.empty()) {
      shared.push_back(std::move(merged[at]));
    }
  }
  return shared;
}

}  // namespace lab
