#pragma once

#include "Inspection/inspection.h"

namespace vorn_keys {

/// A console whose results go to standard output, complaints to standard error, and progress to
/// standard error as a bar, if that is a terminal.
inspection::Console make_console();

}  // namespace vorn_keys
