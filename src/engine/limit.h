#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/parsed.h"

namespace engine {

/// The most that a key may show before the run is to end.
struct Limit {
  std::string key;   ///< four characters
  float most = 0.0;  ///< in the key's unit
};

/// Reads "KEY=VALUE". Pure. Thread: any.
Parsed<Limit> parse_limit(std::string_view text);

/// Judges the values of limited keys, look by look. A single outlier is no reason to end a run, so
/// a limit counts as reached when more than two looks in a row did not find its key within it.
/// Pure. Thread: one at a time.
class LimitWatch {
 public:
  explicit LimitWatch(std::vector<Limit> limits);

  /// One look: the value of each limited key, in their order, or nothing where a key could not be
  /// read or is not a number. Returns what to say of the first limit that is reached, if any is.
  std::optional<std::string> look(const std::vector<std::optional<float>>& values);

 private:
  struct Watched {
    Limit limit;
    int outside = 0;  // looks in a row
  };

  std::vector<Watched> watched_;
};

}  // namespace engine
