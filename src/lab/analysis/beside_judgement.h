#pragma once

#include <string>
#include <vector>

#include "lab/data/table.h"

namespace lab {

/// That a fan did not keep its speed, in a sentence; empty if it did, or if it is no fan.
std::string judge_fan(const Column& column);

/// That the load was not delivered as asked, or that there was other load, from the columns
/// kAskedColumn, kDeliveredColumn and kOthersColumn, where they are there.
std::vector<std::string> judge_load(const std::vector<Column>& columns);

}  // namespace lab
