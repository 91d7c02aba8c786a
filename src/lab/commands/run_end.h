#pragma once

#include <string>

#include "lab/folder/run_info.h"

namespace lab {

/// How a run ended whose last engine ended with `status`. `interrupted`: somebody asked to end it;
/// `whole`: all of its plan was played. Pure, as are the others.
RunEnd end_of(int status, bool interrupted, bool whole);

/// What was not as asked in a run that was played to its end although its engine ended with this
/// status; null if it is none of those.
const char* shortcoming(int status);

/// What the engine says of a limit ("limit TC0D=95: the key shows 95.5"), with the key and its
/// value first: "TC0D shows 95.5, and its limit is 95". Empty if it says something else.
std::string limit_reason(const std::string& complaint);

}  // namespace lab
