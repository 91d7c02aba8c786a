#pragma once

#include <vector>

#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/guardian/control_groups.h"

namespace linux_machine {

/// Makes a process that was just forked root's own, if its effective user is root: no signal but
/// root's reaches it. The first thing that it does. Requires: signals are blocked.
void take_away_from_caller();

/// Takes the calling process, of one thread, out of everything by which the caller of the run could
/// stop, starve or end it: control groups, limits, niceness, affinity, its score when memory is
/// short. True if all of it is left; else `why` says by what it is still held.
/// Requires: take_away_from_caller(). Allocates nothing.
bool set_apart(const std::vector<GroupHierarchy>& hierarchies, LineText& why);

/// Closes every descriptor but standard error and these two, so that nobody waits for the end of a
/// stream that this process holds without knowing.
void close_all_but(int one, int other);

}  // namespace linux_machine
