#include "machines/linux/giving_back/left_behind.h"

#include <algorithm>
#include <filesystem>

#include "machines/linux/giving_back/put_back.h"

namespace linux_machine {

bool give_back_left_behind(const Surroundings& surroundings, const StateFile& state) {
  const sysfs::Result<std::string> journal = state.read();
  if (!journal) {
    surroundings.report(journal.failure().message);
    return false;
  }
  const std::function<void(std::string_view)> report = [&](std::string_view line) {
    surroundings.report(std::string(line));
  };
  return journal->empty() || (put_back(surroundings.sys, *journal, {surroundings.sleep_for, report},
                                       Extent::what_reads_as_forced) &&
                              state.replace(""));
}

std::vector<std::string> parts_with_state(const Surroundings& surroundings) {
  namespace fs = std::filesystem;
  std::vector<std::string> parts;
  std::error_code error;
  fs::directory_iterator at(surroundings.state_folder, error);
  for (const fs::directory_iterator end; !error && at != end; at.increment(error)) {
    std::error_code ignored;
    if (at->is_regular_file(ignored) && at->file_size(ignored) > 0) {
      parts.push_back(at->path().filename());
    }
  }
  std::sort(parts.begin(), parts.end());
  return parts;
}

}  // namespace linux_machine
