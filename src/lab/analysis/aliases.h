#pragma once

#include <vector>

namespace lab {

/// Where a frequency appears in samples taken at `rate_hz`: within 0 and half of it.
double folded_hz(double frequency_hz, double rate_hz);

/// The frequency of which all are multiples, to a fiftieth of it; the least of them if there is
/// none down to its twelfth. Requires: frequencies are above 0, and not empty.
double common_hz(const std::vector<double>& frequencies_hz);

/// Frequencies that are played at once, and for how long.
struct Together {
  std::vector<double> frequencies_hz;
  double base_hz = 0;  ///< all are multiples of it; with one frequency, that
  double length_s = 0;
};

/// A carrier and a sampling rate.
struct Rates {
  double carrier_hz = 0;
  double rate_hz = 0;
};

/// How far the nearest alias of a pulse-width modulation is from any of the frequencies that it
/// plays, in resolutions of the stretch (1 / length). What a carrier brings with it are its
/// multiples, and around each of them side bands at distances of multiples of the frequency; and a
/// machine that is not linear brings multiples of the frequency itself. Those that the samples take
/// for another frequency are the aliases. Of several frequencies there are side bands at all
/// multiples of their base, so what counts is how far those are from multiples of it. 0 for
/// frequencies that the samples cannot show. Requires: frequencies and rates above 0.
double nearest_alias(const Together& stretch, const Rates& rates);

/// The rates, from `least` up to a quarter more, whose nearest alias is as far as can be had, in
/// the worst of the stretches.
Rates without_aliases(const std::vector<Together>& stretches, const Rates& least);

}  // namespace lab
