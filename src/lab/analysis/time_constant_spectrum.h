#pragma once

#include <vector>

#include "lab/analysis/impedance_curve.h"
#include "lab/analysis/ladder.h"

namespace lab {

/// A spectrum has so many time constants to a decade.
inline constexpr int kSpectrumToADecade = 20;

/// The resistance over a grid of time constants, from a third of the first point's time to three
/// times that of the last, that comes as near to the measured impedance as `squares` says (sum of
/// count * difference^2): of all that do and that are nowhere negative, about the smoothest. A peak
/// is never narrower than the measurement can tell, and none is there that it does not ask for.
/// Each stage is the resistance of a twentieth of a decade. Empty if there are fewer than five
/// points, or if no spectrum comes as near: then the impedance is not that of a heated place.
///
/// Source: the spectrum is that of network identification by deconvolution (Szekely and Van Bien,
/// Fine structure of heat flow path in semiconductor devices, 1988); the inversion is a constrained
/// regularisation (Provencher, 1982), whose parameter is found by the discrepancy principle
/// (Morozov, 1966). It needs no derivative of the measurement.
std::vector<FosterStage> time_constant_spectrum(const std::vector<ImpedancePoint>& points,
                                                double squares);

}  // namespace lab
