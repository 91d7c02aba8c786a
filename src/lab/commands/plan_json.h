#pragma once

#include <string>

#include "lab/plan/plan.h"

namespace lab {

/// The plan as JSON, with the members of its TOML and a newline at the end. Each number is the
/// shortest decimal that reads as the same.
std::string plan_json(const Plan& plan);

}  // namespace lab
