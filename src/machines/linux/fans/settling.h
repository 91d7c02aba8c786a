#pragma once

#include <functional>

#include "machines/linux/surroundings/surroundings.h"
#include "machines/linux/sysfs/result.h"

namespace linux_machine {

/// Where a fan's speed has come to after a change.
struct Settled {
  double rpm = 0;
  bool steady = false;  ///< false: it was still changing when the time was over
};

using ReadSpeed = std::function<sysfs::Result<double>()>;

/// Says whether to go on; asked before every sample.
using MayGoOn = std::function<sysfs::Result<sysfs::Done>()>;

constexpr std::int64_t kSettlePatienceNs = 30 * kNsPerS;  ///< as other fan programs wait

/// Waits until the speed that `read` gives is steady, `patience_ns` at most. Fails as `may_go_on`
/// does, or if three reads in a row fail.
sysfs::Result<Settled> settle(const Surroundings& surroundings, const ReadSpeed& read,
                              const MayGoOn& may_go_on, std::int64_t patience_ns);

}  // namespace linux_machine
