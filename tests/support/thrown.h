#pragma once

#include <string>

/// The description of the Exception that `action` throws, or "nothing thrown".
template <class Exception, class Action>
std::string thrown(const Action& action) {
  try {
    action();
  } catch (const Exception& exception) {
    return exception.description();
  }
  return "nothing thrown";
}
