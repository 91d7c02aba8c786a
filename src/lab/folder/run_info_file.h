#pragma once

#include <string>

#include "lab/folder/run_info.h"

namespace lab {

/// run.json as a text. docs/lab.md describes its members.
std::string run_info_text(const RunInfo& info);

/// The run that a run.json describes; `name` stands for it in messages. Members that are missing
/// keep their defaults. Throws FolderError.
RunInfo parse_run_info(const std::string& text, const std::string& name);

}  // namespace lab
