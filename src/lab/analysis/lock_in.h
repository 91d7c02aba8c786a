#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace lab {

/// A sinusoid that was found in a series: x(t) = Re(value * exp(2 pi j f t)), with t from the first
/// instant of the stretch on.
struct Tone {
  std::complex<double> value;
  double variance = 0;  ///< of the real part, and of the imaginary part
  double freedom = 0;   ///< degrees of freedom of that variance
};

/// What a lock-in found in one series.
struct LockedIn {
  std::vector<Tone> tones;   ///< one for each frequency; empty: too few values
  double residual_rms = 0;   ///< of what is neither tone nor slow change
  std::size_t measured = 0;  ///< values that are there
};

/// Finds the tones of these frequencies in series that were measured together, by least squares on
/// sine and cosine at the true instants, whatever their distances. A straight line and three
/// decays (a thirtieth, an eighth and half of the stretch) are fitted together with them: what is
/// left of the transient, and slow heating, do not leak into the tones. The variances come from
/// what the residuals show at the frequencies beside each tone, as far as those parts of the model
/// have left it there. Values that are NaN are left out. Two passes over the rows.
///
/// Requires: time_s ascends, series are as long, frequencies are above 0 and apart by more than
/// 1 / length; the stretch holds whole periods of each frequency.
/// Source: harmonic least squares (Lomb, 1976; Vanicek, 1971); the variance as of a spectral
/// estimate, for example Bendat and Piersol, Random Data, 8.5.
std::vector<LockedIn> lock_in(std::span<const double> time_s,
                              const std::vector<std::span<const double>>& series,
                              const std::vector<double>& frequencies_hz);

}  // namespace lab
