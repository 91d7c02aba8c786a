#pragma once

#include <stdexcept>

namespace lab {

/// A picture that cannot be made. The text says why, and what to do.
class PlotError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace lab
