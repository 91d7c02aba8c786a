#include "machines/linux/guardian/ledger.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "machines/linux/giving_back/repair.h"
#include "machines/linux/giving_back/restore.h"
#include "machines/linux/guardian/guardian.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

std::string as_text(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

/// Whether there was something to repair.
Result<bool> repair_left(const Surroundings& surroundings, const StateFile& state) {
  const Result<std::string> left = state.read();
  if (!left) {
    return left.failure();
  }
  if (left->find('\n') == std::string::npos) {
    return false;  // nothing, or a line that was cut off before anything was changed
  }
  if (!repair(surroundings, state)) {
    return sysfs::Failure{
        sysfs::Trouble::silent, 0,
        "what an earlier run left changed cannot be given back: see " + state.path()};
  }
  return true;
}

}  // namespace

/// What is held while the part is this run's. The guardian is told before the lock is given up.
class Ledger::Holding {
 public:
  Holding(StateFile state, std::optional<Guardian> guardian)
      : state_(std::move(state)), guardian_(std::move(guardian)) {}

  const StateFile& state() const { return state_; }

 private:
  StateFile state_;
  std::optional<Guardian> guardian_;
};

Ledger::Ledger(const Surroundings& surroundings, std::string part)
    : surroundings_(surroundings), part_(std::move(part)) {}

Ledger::~Ledger() = default;

Result<Done> Ledger::begin() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (holding_) {
    return Done{};
  }
  Result<StateFile> state = StateFile::lock(surroundings_, part_);
  if (!state) {
    return state.failure();
  }
  const Result<bool> repaired = repair_left(surroundings_, *state);
  if (!repaired) {
    return repaired.failure();
  }
  if (*repaired) {
    surroundings_.report("an earlier run had left the " + part_ + " changed: given back first");
  }
  std::optional<Guardian> guardian;
  if (surroundings_.guarded) {
    Result<Guardian> started = Guardian::start(surroundings_, part_, *state);
    if (!started) {
      return started.failure();
    }
    guardian.emplace(std::move(*started));
  }
  holding_ = std::make_unique<Holding>(std::move(*state), std::move(guardian));
  return Done{};
}

Result<Done> Ledger::note(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (std::find(lines_.begin(), lines_.end(), line) != lines_.end()) {
    return Done{};
  }
  Result<Done> written = holding_->state().append(line + "\n");
  if (written) {
    lines_.push_back(line);
  }
  return written;
}

bool Ledger::give_back(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto at = std::find(lines_.begin(), lines_.end(), line);
  if (at == lines_.end()) {
    return true;
  }
  const std::function<void(std::string_view)> report = [this](std::string_view text) {
    surroundings_.report(std::string(text));
  };
  if (!restore(surroundings_.sys, line + "\n", {surroundings_.sleep_for, report})) {
    return false;
  }
  lines_.erase(at);
  return static_cast<bool>(holding_->state().replace(as_text(lines_)));
}

bool Ledger::give_back_all() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (lines_.empty()) {
    return true;
  }
  const std::function<void(std::string_view)> report = [this](std::string_view text) {
    surroundings_.report(std::string(text));
  };
  if (!restore(surroundings_.sys, as_text(lines_), {surroundings_.sleep_for, report})) {
    return false;
  }
  lines_.clear();
  return static_cast<bool>(holding_->state().replace(""));
}

void Ledger::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  holding_.reset();
  lines_.clear();
}

}  // namespace linux_machine
