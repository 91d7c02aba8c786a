#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "engine/parsed.h"

namespace engine {

/// What a steered run is told to force otherwise from now on.
struct Forcing {
  enum class What { fans, pstate };

  What what = What::fans;
  std::string fan;          ///< the target key of one fan; empty: every fan of the run
  std::uint32_t value = 0;  ///< RPM, or kMaximumSpeed; the number of a P-state
};

/// What the lines may say, for a complaint.
inline constexpr const char* kForcingTaken = "\"fans RPM\", \"fan KEY RPM\", \"pstate P\"";

/// What a run forces, and so may be told to force otherwise: it is given back at its end.
struct Forced {
  std::list<std::string> fans;  ///< target keys; empty: the fans are left alone
  bool pstate = false;
};

/// Whether a line is about forcing, whatever it says of it.
bool is_forcing(std::string_view line);

/// Reads such a line for a run that forces `forced`. Pure. Thread: any.
Parsed<Forcing> parse_forcing(std::string_view line, const Forced& forced);

}  // namespace engine
