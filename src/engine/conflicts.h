#pragma once

#include <optional>
#include <string>

#include "engine/options.h"

namespace engine {

/// What of the command line contradicts itself, or would be without effect: named with the options
/// that it lies between, and what to do. Nothing if all is well. Reads vorn's settings too.
/// Thread: the main one, once the command line has been read.
std::optional<std::string> conflict(const Request& request);

}  // namespace engine
