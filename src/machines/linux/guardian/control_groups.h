#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace linux_machine {

/// A hierarchy of control groups that is mounted here.
struct GroupHierarchy {
  std::string controllers;  ///< as /proc/self/cgroup names them; empty: the unified one
  std::string top;          ///< the file that takes a process into the group at its top
};

/// The hierarchies that a text in the form of /proc/self/mountinfo shows from their top.
std::vector<GroupHierarchy> group_hierarchies(std::string_view mountinfo);

/// Those of this process. Allocates: before a fork.
std::vector<GroupHierarchy> mounted_group_hierarchies();

/// A line of `groups`, in the form of /proc/self/cgroup, that says that the process is still in a
/// group in which it could be stopped, starved or ended with the others of the group: by the
/// unified hierarchy, the freezer or a quota of processor time. Empty if there is none.
std::string_view group_that_binds(std::string_view groups);

/// Moves the calling process to the top of each hierarchy. What that came to is for
/// own_group_that_binds() to say. Allocates nothing.
void leave_control_groups(const std::vector<GroupHierarchy>& hierarchies);

/// group_that_binds() of the calling process, in `buffer`. What cannot be read binds.
/// Allocates nothing.
std::string_view own_group_that_binds(char* buffer, std::size_t size);

}  // namespace linux_machine
