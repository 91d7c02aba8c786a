#pragma once

#include <sys/types.h>

#include <fstream>
#include <string>

/// Whether the thread `task` of this process sleeps. Thread: any.
inline bool asleep(pid_t task) {
  std::ifstream stat("/proc/self/task/" + std::to_string(task) + "/stat");
  std::string line;
  std::getline(stat, line);
  const std::size_t name_end = line.rfind(") ");
  return name_end != std::string::npos && line[name_end + 2] == 'S';
}
