#pragma once

#include <stdexcept>

namespace lab {

/// A program that the lab needs cannot be found or started, or refuses what it is asked. The text
/// names the cause and the remedy.
class EngineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace lab
