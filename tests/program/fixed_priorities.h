#pragma once

#include <sched.h>
#include <sys/types.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

/// The fixed priorities of a process's threads, in ascending order.
inline std::vector<int> fixed_priorities(pid_t pid) {
  std::vector<int> priorities;
  for (const auto& task :
       std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
    const pid_t thread = std::stoi(task.path().filename());
    sched_param param{};
    if (sched_getscheduler(thread) == SCHED_FIFO && sched_getparam(thread, &param) == 0) {
      priorities.push_back(param.sched_priority);
    }
  }
  std::sort(priorities.begin(), priorities.end());
  return priorities;
}
