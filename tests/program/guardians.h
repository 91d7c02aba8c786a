#pragma once

#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// The guardians that live and hold a state file below `folder`, by process number: those of other
/// tests are none of ours.
inline std::vector<pid_t> living_guardians(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<pid_t> found;
  std::error_code gone;  // processes end while they are looked at
  for (const fs::directory_entry& process : fs::directory_iterator("/proc", gone)) {
    std::ifstream in(process.path() / "comm");
    std::string name;
    if (!std::getline(in, name) || name != "vorn-guardian") {
      continue;
    }
    for (fs::directory_iterator file(process.path() / "fd", gone), end; !gone && file != end;
         file.increment(gone)) {
      if (fs::read_symlink(file->path(), gone).string().starts_with(folder + "/")) {
        found.push_back(static_cast<pid_t>(std::stol(process.path().filename())));
        break;
      }
    }
  }
  return found;
}
