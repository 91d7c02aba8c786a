#pragma once

#include <cstddef>
#include <vector>

namespace lab {

/// How times of one kind are spread, in us. Some were asked for and never seen: they count as later
/// than every other.
class Spread {
 public:
  Spread() = default;
  explicit Spread(std::vector<double> times_us, std::size_t missed = 0);

  std::size_t count() const { return sorted_.size() + missed_; }
  std::size_t missed() const { return missed_; }

  /// The time within which the part `share` of all lies, by nearest rank: infinite if that is among
  /// those missed, NaN of none. Requires: 0 to 1.
  double at(double share) const;

  /// The largest that was seen; NaN of none.
  double most() const;

  const std::vector<double>& sorted() const { return sorted_; }

 private:
  std::vector<double> sorted_;
  std::size_t missed_ = 0;
};

}  // namespace lab
