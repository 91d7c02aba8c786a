#include "machines/linux/cpufreq/pinning.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "machines/linux/cpufreq/confirm.h"
#include "machines/linux/cpufreq/pstates.h"
#include "machines/linux/giving_back/journal.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Failure;
using sysfs::Result;
using sysfs::Trouble;

Result<Done> write_all(sysfs::Tree& sys, const std::vector<Setting>& writes) {
  for (const Setting& write : writes) {
    const Result<Done> written = sysfs::write_text(sys, write.attribute, write.value);
    if (!written) {
      Failure failure = written.failure();
      const Result<std::string> seen = sysfs::read_text(sys, write.attribute);
      failure.message += " (wanted " + write.value + (seen ? ", it is " + *seen : "") + ")";
      return failure;
    }
  }
  return Done{};
}

Result<Done> number_within(std::uint32_t n, const std::vector<Policy>& policies) {
  const std::size_t count = count_pstates(policies);
  if (n < count) {
    return Done{};
  }
  return Failure{Trouble::bad_value, "P-state " + std::to_string(n) + ": this machine has 0 to " +
                                         std::to_string(count - 1)};
}

std::string was(const std::string& attribute, const std::string& value) {
  return attribute + " (was " + value + ")";
}

}  // namespace

Result<Done> PStatePinning::force(std::uint32_t n) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (Result<Done> checked = check_number(n); !checked) {
    return checked;
  }
  if (Result<Done> begun = ledger_.begin(); !begun) {
    return begun;
  }
  Result<Done> pinned = pin(n);
  if (pinned && !ledger_.holds()) {  // this process stood still meanwhile, and nobody is behind it
    pinned = Failure{Trouble::given_back, "P-states: they have been given back meanwhile"};
  }
  if (pinned) {
    return pinned;
  }
  Failure failure = pinned.failure();
  if (const Result<Done> given_back = give_back_all(); !given_back) {
    failure.message += "; " + given_back.failure().message;
  }
  return failure;
}

Result<Done> PStatePinning::give_back() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return give_back_all();
}

Result<Done> PStatePinning::check_number(std::uint32_t n) {
  if (original_) {
    return number_within(n, original_->policies);
  }
  const Result<Cpufreq> now = read_cpufreq(surroundings_.sys);
  return now ? number_within(n, now->policies) : now.failure();
}

// The machine is read again here: until the ledger has begun, it may stand as a run that was killed
// has left it.
Result<Done> PStatePinning::pin(std::uint32_t n) {
  const Result<Cpufreq> now = read_cpufreq(surroundings_.sys);
  if (!now) {
    return now.failure();
  }
  const Cpufreq& original = original_beside(*now);
  if (Result<Done> checked = number_within(n, original.policies); !checked) {
    return checked;
  }
  const PinPlan plan = plan_pin(original, *now, n);
  if (Result<Done> saved = save(plan); !saved) {
    return saved;
  }
  if (Result<Done> written = write_all(surroundings_.sys, plan.writes); !written) {
    return written;
  }
  return confirm(surroundings_, plan.limits);
}

const Cpufreq& PStatePinning::original_beside(const Cpufreq& now) {
  if (!original_) {
    original_ = now;
    return *original_;
  }
  for (const Policy& policy : now.policies) {
    const bool known =
        std::any_of(original_->policies.begin(), original_->policies.end(),
                    [&](const Policy& other) { return other.folder == policy.folder; });
    if (!known) {
      original_->policies.push_back(policy);
    }
  }
  return *original_;
}

Result<Done> PStatePinning::save(const PinPlan& plan) {
  for (const Setting& original : plan.originals) {
    // The first value stays: later ones may be those that were forced. The ledger keeps what it
    // has already.
    const std::string& value = saved_.emplace(original.attribute, original.value).first->second;
    const auto forced =
        std::find_if(plan.writes.begin(), plan.writes.end(),
                     [&](const Setting& write) { return write.attribute == original.attribute; });
    const std::string line =
        set_line(original.attribute, value, forced == plan.writes.end() ? "" : forced->value);
    if (Result<Done> noted = ledger_.note(line); !noted) {
      return noted;
    }
  }
  return Done{};
}

Result<Done> PStatePinning::give_back_all() {
  if (ledger_.give_back_all()) {
    saved_.clear();
    original_.reset();
    return Done{};
  }
  std::string changed;
  for (const auto& [attribute, value] : saved_) {
    const Result<std::string> seen = sysfs::read_text(surroundings_.sys, attribute);
    const bool gone = !seen && seen.failure().trouble == Trouble::absent;
    if (!gone && (!seen || *seen != value)) {
      changed.append(changed.empty() ? "" : ", ").append(was(attribute, value));
    }
  }
  if (changed.empty()) {
    changed = "the note of what was changed";
  }
  return Failure{Trouble::silent, "not given back: " + changed};
}

}  // namespace linux_machine
