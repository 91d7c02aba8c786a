#pragma once

#include "lab/data/answer.h"
#include "lab/data/table.h"

namespace lab {

/// Adds to the answer what became of a utilisation that was played as load: how well the delivered
/// load follows what was asked for, second by second, and how each power and temperature follows
/// the load.
///
/// `figures`: replay: seconds (that were sampled, s), asked and delivered (means over them, 0 to
/// 1), difference_rms and difference_most (0 to 1, of seconds); responses.KEY: correlation (of -1
/// to 1, with the load `lag` seconds before), lag (s).
void tell_replay(const Table& samples, Answer& answer);

}  // namespace lab
