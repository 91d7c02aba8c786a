#include "machines/linux/cpufreq/confirm.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include "machines/linux/sysfs/attribute.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Failure;
using sysfs::Result;
using sysfs::Trouble;

constexpr std::int64_t kPatienceNs = kNsPerS;
constexpr std::int64_t kBetweenLooksNs = 10 * kNsPerMs;

/// Whether `seen` is `wanted`, but for the rounding of a driver that thinks in other steps.
bool near(long long wanted, long long seen) {
  constexpr long long kHundredth = 100;
  return std::llabs(seen - wanted) * kHundredth <= wanted;
}

Result<Done> look(sysfs::Tree& sys, const Setting& limit) {
  const Result<long long> seen = sysfs::read_integer(sys, limit.attribute);
  if (!seen) {
    Failure failure = seen.failure();
    failure.message += " (it was set to " + limit.value + ")";
    return failure;
  }
  if (!near(sysfs::parse_integer(limit.value).value_or(0), *seen)) {
    return Failure{Trouble::silent, "setting " + limit.attribute + " to " + limit.value +
                                        ": it stays at " + std::to_string(*seen)};
  }
  return Done{};
}

}  // namespace

Result<Done> confirm(const Surroundings& surroundings, const std::vector<Setting>& limits) {
  const std::int64_t deadline = surroundings.now_ns() + kPatienceNs;
  auto at = limits.begin();  // those before it are right
  while (at != limits.end()) {
    Result<Done> looked = look(surroundings.sys, *at);
    if (looked) {
      ++at;
    } else if (surroundings.now_ns() >= deadline) {
      return looked;
    } else {
      surroundings.sleep_for(kBetweenLooksNs);
    }
  }
  return Done{};
}

}  // namespace linux_machine
