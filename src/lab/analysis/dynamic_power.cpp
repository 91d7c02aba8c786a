#include "lab/analysis/dynamic_power.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "lab/analysis/noise.h"
#include "lab/analysis/quantile.h"

namespace lab {

namespace {

constexpr double kLeftOut_s = 2;  // behind a change: sensors are late, and the fast parts are on
constexpr double kSecond_s = 1;
constexpr double kCurved_K = 10;  // a change of temperature that shows how leakage bends

/// Means over about a second.
struct Row {
  std::size_t point = 0;
  double power = 0;
  double temperature = 0;
  double delivered = 0;
};

struct Columns {
  const std::vector<double>* power = nullptr;
  const std::vector<double>* delivered = nullptr;
  const std::vector<double>* temperature = nullptr;  // null: no temperature was measured
};

double span_of(const std::vector<double>& values) {
  double least = std::numeric_limits<double>::infinity();
  double most = -least;
  for (const double value : values) {
    if (std::isfinite(value)) {
      least = std::min(least, value);
      most = std::max(most, value);
    }
  }
  return most - least;
}

Columns columns_of(const SweepInput& input) {
  Columns columns;
  if (const Column* power = input.samples.find(input.power)) {
    columns.power = &power->values;
  }
  if (const Column* delivered = input.samples.find(kDeliveredColumn)) {
    columns.delivered = &delivered->values;
  }
  for (const Column& column : input.samples.columns) {
    if (column.unit == "degC" && (columns.temperature == nullptr ||
                                  span_of(column.values) > span_of(*columns.temperature))) {
      columns.temperature = &column.values;
    }
  }
  return columns;
}

void add_rows(const SweepInput& input, const Columns& columns, const SweepVisit& visit,
              std::vector<Row>& rows) {
  const std::vector<double>& time_s = input.samples.time_s;
  const double begin_s = time_s[visit.first_row] + kLeftOut_s;
  double begun_s = begin_s;
  Row sum{.point = visit.point};
  double count = 0;
  for (std::size_t at = visit.first_row; at < visit.end_row; ++at) {
    const double power = (*columns.power)[at];
    const double delivered = (*columns.delivered)[at];
    const double temperature = columns.temperature != nullptr ? (*columns.temperature)[at] : 0;
    if (time_s[at] < begin_s || !std::isfinite(power + delivered + temperature)) {
      continue;
    }
    sum.power += power;
    sum.delivered += delivered;
    sum.temperature += temperature;
    count += 1;
    if (time_s[at] >= begun_s + kSecond_s) {
      rows.push_back(
          {visit.point, sum.power / count, sum.temperature / count, sum.delivered / count});
      begun_s = time_s[at];
      sum = {.point = visit.point};
      count = 0;
    }
  }
}

double mean_delivered(const std::vector<Row>& rows, std::size_t point) {
  double sum = 0;
  double count = 0;
  for (const Row& row : rows) {
    if (row.point == point) {
      sum += row.delivered;
      count += 1;
    }
  }
  return sum / count;
}

/// What the parabola leaves out of a leakage that grows exponentially: its next order, from the
/// second one over the whole way that the temperature goes. Many processors leak twice as much
/// every 30 K or so.
double third_order(double second_order_w, double moved_K) {
  constexpr double kDoubles_K = 30;
  constexpr double kThirdOverSecond = std::numbers::ln2 / kDoubles_K / 3;
  return std::abs(second_order_w) * kThirdOverSecond * moved_K;
}

}  // namespace

DynamicPower dynamic_power(const SweepInput& input) {
  DynamicPower result;
  const Columns columns = columns_of(input);
  if (columns.power == nullptr || columns.delivered == nullptr) {
    return result;
  }
  std::vector<Row> rows;
  for (const SweepVisit& visit : input.visits) {
    add_rows(input, columns, visit, rows);
  }
  // Points that were loaded have a column of their own.
  std::vector<Eigen::Index> column_of(input.points.size(), -1);
  bool idle = false;
  double coldest = std::numeric_limits<double>::infinity();
  double warmest = -coldest;
  constexpr double kLoaded = 0.02;
  for (const Row& row : rows) {
    idle = idle || row.delivered < kLoaded;
    coldest = std::min(coldest, row.temperature);
    warmest = std::max(warmest, row.temperature);
    if (row.delivered >= kLoaded) {
      column_of[row.point] = 0;
    }
  }
  const double moved = columns.temperature != nullptr ? warmest - coldest : 0;
  const Eigen::Index common = moved > kCurved_K ? 3 : moved > 1 ? 2 : 1;
  Eigen::Index unknowns = common;
  for (Eigen::Index& column : column_of) {
    column = column < 0 ? -1 : unknowns++;
  }
  const auto count = static_cast<Eigen::Index>(rows.size());
  if (!idle || unknowns == common || count < 2 * unknowns) {
    return result;
  }
  const double middle = (coldest + warmest) / 2;
  Eigen::MatrixXd slopes = Eigen::MatrixXd::Zero(count, unknowns);
  Eigen::VectorXd power(count);
  for (Eigen::Index at = 0; at < count; ++at) {
    const Row& row = rows[static_cast<std::size_t>(at)];
    const double warmth = moved > 0 ? (row.temperature - middle) / moved : 0;
    for (Eigen::Index order = 0; order < common; ++order) {
      slopes(at, order) = std::pow(warmth, static_cast<double>(order));
    }
    if (column_of[row.point] >= 0) {
      slopes(at, column_of[row.point]) = row.delivered;
    }
    power[at] = row.power;
  }
  const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> solver(slopes);
  if (solver.rank() < unknowns) {
    return result;
  }
  const Eigen::VectorXd found = solver.solve(power);
  const Eigen::VectorXd left = power - slopes * found;
  const double more = 1 + 2 * correlation_sum(noise_of(left));
  const double freedom =
      std::max(1.0, static_cast<double>(count) / more - static_cast<double>(unknowns));
  const double variance = left.squaredNorm() / static_cast<double>(count - unknowns) * more;
  const Eigen::MatrixXd inverse = (slopes.transpose() * slopes).inverse();
  const double left_out_w = common > 2 ? third_order(found[2], moved) : 0;
  result.known = true;
  for (std::size_t point = 0; point < column_of.size(); ++point) {
    const Eigen::Index column = column_of[point];
    const double value = column < 0 ? 0 : found[column];
    const double half =
        column < 0
            ? 0
            : std::hypot(two_sided_95(freedom) * std::sqrt(variance * inverse(column, column)),
                         left_out_w / mean_delivered(rows, point));
    result.full_load.push_back({value, value - half, value + half, "W"});
  }
  return result;
}

}  // namespace lab
