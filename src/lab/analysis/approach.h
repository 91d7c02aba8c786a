#pragma once

#include <optional>
#include <span>

namespace lab {

/// How a value goes on that approaches its final one.
struct Approach {
  double to_come = 0;  ///< how far it still goes from the last instant on; infinite: no end is seen
  double tau_s = 0;    ///< time constant of what is left
  double clearness = 0;  ///< the fitted change over the noise of a part's mean
};

/// Fits final + b exp(-t / tau) to the means of thirty parts of the record: least squares, with tau
/// tried on a logarithmic grid, and the other two solved for. A straight line has no end. It tells
/// when to stop waiting; what was measured is judged with intervals, elsewhere. `tau_s`: that of
/// another value of the same record, when this one is too noisy to show its own. Requires: as many
/// values as instants, which ascend; NaN is left out. Constant memory, one pass.
Approach approach(std::span<const double> time_s, std::span<const double> values,
                  std::optional<double> tau_s = std::nullopt);

}  // namespace lab
