#pragma once

#include <string>
#include <string_view>

/// Prints on standard error, and waits for a second at most for a reader who has stopped reading:
/// what he does not take by then is dropped. For what is said on the way out, when nothing may wait
/// for a reader, or by whoever holds what the way out needs. Thread: any.
void say_on_the_way_out(std::string_view text);

/// What giving something back came to. Whoever does it prints that later: when nothing is left to
/// be given back.
struct GivenBack {
  int result = 0;      ///< 0, or -1
  std::string text{};  ///< whole lines that say it; empty if there is nothing to say

  /// Prints the text. Returns the result.
  int say() const {
    say_on_the_way_out(text);
    return result;
  }
};
