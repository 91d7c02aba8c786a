#pragma once

#include "lab/plan/plan.h"
#include "lab/plan/plan_members.h"

namespace lab {

/// How the duty goes in a phase, by its words: duty, sinusoid, triangle, sines or profile, and what
/// belongs to them. Throws PlanError.
Drive parse_drive(PlanMembers& members);

}  // namespace lab
