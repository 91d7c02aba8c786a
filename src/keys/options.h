#pragma once

#include <optional>
#include <string>

namespace vorn_keys {

enum class Action { list, calibrate, restore, check, help, version };

/// What the command line asks for; none if it is not valid.
std::optional<Action> parse_arguments(int argc, char* argv[]);

/// The help text for a program called `name`.
std::string usage(const std::string& name);

}  // namespace vorn_keys
