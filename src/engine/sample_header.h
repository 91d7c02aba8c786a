#pragma once

#include <list>
#include <string>
#include <vector>

#include "Inspection/inspection.h"

namespace engine {

/// The head of a sample file: what its columns are, in lines that begin with "#", so that what
/// draws and calculates passes over them; the last names the columns as they stand. `known`: the
/// keys of the machine, with their sources. Pure. Thread: any.
std::vector<std::string> sample_header(const std::list<std::string>& keys,
                                       const std::vector<inspection::Key>& known);

}  // namespace engine
