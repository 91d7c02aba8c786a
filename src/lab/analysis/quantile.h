#pragma once

namespace lab {

/// The factor on a standard error that makes a 95 % interval: the 97.5 % quantile of Student's t.
/// `freedom` is the number of degrees of freedom, at least 3; below that, that of 3.
/// Source: Abramowitz and Stegun, Handbook of Mathematical Functions, 26.7.5; within 1 %.
double two_sided_95(double freedom);

}  // namespace lab
