#pragma once

#include <string>
#include <vector>

#include "lab/data/table.h"

namespace lab {

/// That a fan did not keep its speed, in a sentence; empty if it did, or if it is no fan.
std::string judge_fan(const Column& column);

/// That the load was not delivered as asked, or that there was other load, from the columns
/// kAskedColumn, kDeliveredColumn and kOthersColumn, where they are there. `full_load` is what a
/// duty of 1 delivers: fewer threads than processors cannot keep all of them busy.
std::vector<std::string> judge_load(const std::vector<Column>& columns, double full_load = 1);

}  // namespace lab
