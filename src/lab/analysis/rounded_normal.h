#pragma once

namespace lab {

/// What a rounded value says of the mean of the normal distribution before the rounding.
struct RoundedNormal {
  double log_probability = 0;
  double score = 0;        ///< derivative of it by the mean
  double information = 0;  ///< less the second derivative; never negative
  double mean = 0;         ///< of the value before the rounding, given what it was rounded to
  double variance = 0;     ///< likewise
};

/// For a value that lies between `low` and `high`, with the given mean and standard deviation
/// before the rounding. Holds far outside of the bounds too. Requires: low < high, sigma > 0.
/// Source: moments of the truncated normal distribution, Johnson, Kotz and Balakrishnan, Continuous
/// Univariate Distributions 1 (1994), 10.1.
RoundedNormal rounded_normal(double low, double high, double mean, double sigma);

}  // namespace lab
