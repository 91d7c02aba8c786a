#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "lab/data/table.h"
#include "lab/report/figure.h"

namespace lab {

/// The unit in which a run's time is drawn, by its length.
struct TimeUnit {
  std::string name;    ///< "s", "min", "h"
  double seconds = 1;  ///< that one of it has
};
TimeUnit time_unit(double length_s);

/// The rows of a table after which nothing was measured for much longer than usual: ten times the
/// median step, and two seconds at least.
std::vector<std::size_t> gaps(const std::vector<double>& time_s);

/// `values` with a NaN after each of the rows; `with_instants` with the middle of the gap.
std::vector<double> with_nothing(const std::vector<double>& values,
                                 const std::vector<std::size_t>& after);
std::vector<double> with_instants(const std::vector<double>& time_s,
                                  const std::vector<std::size_t>& after);

/// The phases as they really were, by the column of phases, in seconds. None without the column.
std::vector<NamedStretch> phases_in(const Table& samples, const Plan& plan);

}  // namespace lab
