#pragma once

#include <string>

extern const std::string version;      ///< what `--version` prints
extern const std::string longversion;  ///< `version` and the copyright notice, for the summary
