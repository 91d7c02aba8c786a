#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lab/plan/plan.h"

namespace lab {

/// Phases that follow each other and that one engine plays: their load is the same, and whether
/// fans and a P-state are forced. What it starts with is what the first one wants.
struct Segment {
  std::size_t first = 0;  ///< of the plan's phases
  std::size_t last = 0;
  std::string load;
  Fans fans;
  std::optional<int> pstate;
};

/// The engine's starts that a plan needs from phase `first` on. Pure.
std::vector<Segment> segments_of(const Plan& plan, std::size_t first = 0);

/// What the lab found on the machine, as far as the engine's command line depends on it.
struct Means {
  std::vector<std::string> keys;      ///< that are sampled
  std::vector<std::string> fan_keys;  ///< targets of the machine's fans: "F0Tg"
  bool root = false;                  ///< the engine is started with root's rights
};

/// The engine's arguments for a segment, but for its files: that of a profile too. Pure.
std::vector<std::string> engine_arguments(const Plan& plan, const Segment& segment,
                                          const Means& means);

/// Whether the engine of a segment plays a profile from a file, and is not steered.
bool plays_profile(const Plan& plan, const Segment& segment);

/// The profile as the engine reads it. Pure.
std::string profile_text(const Drive& drive);

/// The line for an engine that is steered. Pure.
std::string steering(const Drive& drive);

/// The lines for what phase `index` of a segment forces otherwise than the phase before, or than
/// the engine was started with. Pure.
std::string forcing(const Plan& plan, const Segment& segment, std::size_t index,
                    const Means& means);

}  // namespace lab
