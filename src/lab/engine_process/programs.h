#pragma once

#include <filesystem>
#include <string>

namespace lab {

/// The path of another program of this project: beside this one, as it is built, or in libexec/vorn
/// beside the folder of this one, as it is installed. Never one that PATH names: it may be started
/// with root's rights. Throws EngineError.
std::filesystem::path find_program(const std::string& name);

}  // namespace lab
