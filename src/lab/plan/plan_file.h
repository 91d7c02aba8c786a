#pragma once

#include <string>
#include <string_view>

#include "lab/plan/plan.h"

namespace lab {

/// The plan that a TOML text holds; `name` stands for it in messages. docs/lab.md has its form.
/// Throws PlanError, with line and column: for a word that a plan does not know, a value of another
/// kind or out of its range, and what a plan lacks.
Plan parse_plan(std::string_view text, const std::string& name);

/// The plan in the file at `path`. Throws PlanError.
Plan read_plan(const std::string& path);

/// The plan as TOML, which parse_plan() reads as the same plan. A comment says how `program` runs
/// it.
std::string plan_text(const Plan& plan, std::string_view program = "vorn-lab");

}  // namespace lab
