#include "Process/threads.h"

#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <new>

std::vector<pid_t> process::threads() noexcept {
  std::vector<pid_t> found;
  DIR* const tasks = opendir("/proc/self/task");
  if (tasks == nullptr) {
    return found;
  }
  try {
    while (const dirent* entry = readdir(tasks)) {  // NOLINT(concurrency-mt-unsafe): own stream
      if (const long id = std::strtol(entry->d_name, nullptr, 10); id > 0) {
        found.push_back(static_cast<pid_t>(id));
      }
    }
  } catch (const std::bad_alloc&) {  // who asks is often about to end the process for want of it
  }
  closedir(tasks);
  std::sort(found.begin(), found.end());
  return found;
}
