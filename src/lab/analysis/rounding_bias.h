#pragma once

namespace lab {

/// How far rounding to multiples of `step` may change the amplitude of a sinusoid, at most: the
/// bound over all places that its mean may have between two levels. Noise of `noise` (standard
/// deviation before the rounding) works against it; from half a step on nothing is left.
///
/// Rounding adds a sawtooth of the value, whose n-th harmonic sees a sinusoid of amplitude A as
/// J1(2 pi n A / step) and normal noise as a factor exp(-2 (pi n noise / step)^2).
/// Source: the describing function of a quantiser with dither, Gelb and Vander Velde,
/// Multiple-Input Describing Functions (1968), 2.3; Widrow and Kollar, Quantization Noise
/// (2008), 15. Requires: amplitude above 0, noise not negative; step 0: no rounding.
double rounding_bias(double amplitude, double step, double noise);

}  // namespace lab
