#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "machines/linux/sysfs/tree.h"

namespace linux_machine {

/// What put_back() needs of the world beside the tree.
struct PutBackTools {
  const std::function<void(std::int64_t ns)>& sleep_for;
  /// Gets what could not be put back, a line each.
  const std::function<void(std::string_view)>& report;
};

/// What of a journal is put back.
enum class Extent {
  everything,
  /// What reads as it was forced, or as it was: what reads otherwise has been set by somebody
  /// since, and is his. For a journal that nobody has stood behind for a while.
  what_reads_as_forced,
};

/// Puts back everything that `journal` (see journal.h) holds, and confirms it by reading.
///
/// "set" attributes are written in their order, then read back; those that read differently
/// (refused because of an order that the kernel wants, or applied later) are written again, for a
/// second at most. A fan gets its target and pwm while it is manual, then its mode; one that does
/// not read back as it was is put at full speed instead.
///
/// Returns whether everything is as it was. An attribute that has gone (a processor taken offline,
/// a driver unloaded) is reported, and is no failure: there is nothing left to put back. So is what
/// somebody else has set since.
/// Allocates nothing of its own, so that it may run in a process forked from one with threads.
bool put_back(sysfs::Tree& tree, std::string_view journal, const PutBackTools& tools,
              Extent what = Extent::everything);

}  // namespace linux_machine
