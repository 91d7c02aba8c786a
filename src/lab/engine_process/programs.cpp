#include "lab/engine_process/programs.h"

#include <unistd.h>

#include <system_error>

#include "lab/engine_process/engine_error.h"

namespace lab {

namespace fs = std::filesystem;

fs::path find_program(const std::string& name) {
  std::error_code error;
  const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const fs::path& place : {folder, folder.parent_path() / "libexec" / "vorn"}) {
    if (access((place / name).c_str(), X_OK) == 0) {
      return place / name;
    }
  }
  throw EngineError(name + " is neither in " + folder.string() + " nor in " +
                    (folder.parent_path() / "libexec" / "vorn").string() +
                    ": build or install the whole project");
}

}  // namespace lab
