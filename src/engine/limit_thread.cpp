#include "engine/limit_thread.h"

#include <list>
#include <memory>
#include <optional>
#include <string>

#include "Process/capabilities.h"
#include "SMC/SMC.h"
#include "engine/complaint.h"
#include "engine/exit_status.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/signals.h"

namespace engine {

ServiceThread limit_thread;

namespace {

constexpr std::uint32_t kBetweenLooks = 100000;  // us: more than two in a row are 0.3 s

// Never destroyed: a failed start ends main() while the thread runs.
std::vector<Limit>& watched_limits = *new std::vector<Limit>;

bool ended_by_limit = false;  // the limit thread's; whoever joins it may read

/// One key with a connection of its own, so that another that fails does not hide it.
class LimitedKey {
 public:
  explicit LimitedKey(std::string key) : key_{std::move(key)} {}

  std::optional<float> value() {
    try {
      if (!smc_) {
        smc_ = std::make_unique<SMC>(key_);
      }
      smc_->sample(sample_);
      return sample_.front();
    } catch (const SMCException&) {
      return std::nullopt;
    }
  }

 private:
  std::list<std::string> key_;
  std::unique_ptr<SMC> smc_;
  std::list<float> sample_;
};

void* watch(void* /*arg*/) {
  std::vector<LimitedKey> limited;
  limited.reserve(watched_limits.size());
  for (const Limit& limit : watched_limits) {
    limited.emplace_back(limit.key);
  }
  LimitWatch watch(watched_limits);
  std::vector<std::optional<float>> values(limited.size());
  do {
    for (std::size_t i = 0; i < limited.size(); ++i) {
      values[i] = limited[i].value();
    }
    process::keep_capabilities(process::kNoCapabilities);  // what may be opened is open
    if (const auto reached = watch.look(values)) {
      ended_by_limit = true;
      verdict.add(ExitStatus::kLimitReached);
      end_run();
      complain(*reached);
      return nullptr;
    }
  } while (run_sleep(kBetweenLooks) == 0);
  return nullptr;
}

}  // namespace

int spawn_limits(std::vector<Limit> limits) {
  watched_limits = std::move(limits);
  ended_by_limit = false;
  return limit_thread.start(watch, monitor_thread_priority());
}

bool limit_ended_run() {
  return ended_by_limit;
}

}  // namespace engine
