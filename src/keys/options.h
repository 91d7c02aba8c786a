#pragma once

#include <optional>
#include <string>

namespace vorn_keys {

enum class Action { list, calibrate, restore, check, assign, record, list_record, help, version };

/// What the command line asks for.
struct Request {
  Action action = Action::list;
  std::string operand;  ///< of an action that takes one: the file of a record, or a fan's number

  bool operator==(const Request&) const = default;
};

/// None if the command line is not valid.
std::optional<Request> parse_arguments(int argc, char* argv[]);

/// The help text for a program called `name`.
std::string usage(const std::string& name);

}  // namespace vorn_keys
