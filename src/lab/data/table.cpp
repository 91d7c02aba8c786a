#include "lab/data/table.h"

#include <algorithm>

namespace lab {

const Column* Table::find(std::string_view name) const {
  const auto found = std::find_if(columns.begin(), columns.end(),
                                  [&](const Column& column) { return column.name == name; });
  return found == columns.end() ? nullptr : &*found;
}

}  // namespace lab
