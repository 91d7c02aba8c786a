#pragma once

#include <iostream>
#include <string>

/// What giving something back came to. Whoever does it may print that later: printing can wait for
/// a reader who has stopped reading, and nothing that is still to be given back must wait for him.
struct GivenBack {
  int result = 0;      ///< 0, or -1
  std::string text{};  ///< whole lines that say it; empty if there is nothing to say

  /// Prints the text on standard error, in one write. Returns the result.
  int say() const {
    std::cerr << text << std::flush;
    return result;
  }
};
