#include "engine/forcing_thread.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>

#include "Process/capabilities.h"
#include "engine/complaint.h"
#include "engine/record/record.h"
#include "vorn/privilege.h"
#include "vorn/privileged_setup.h"
#include "vorn/settings.h"

namespace engine {

ServiceThread forcing_thread;

namespace {

/// What is to be forced, from whoever says it to the thread. Never destroyed: a failed start ends
/// main() while the thread runs.
class Wanted {
 public:
  void begin() {
    const std::lock_guard lock(mutex_);
    all_.clear();
    over_ = false;
  }
  void add(const Forcing& forcing) {
    const std::lock_guard lock(mutex_);
    // What has not been begun for the same fans is of no use any more, and a flood takes no memory.
    std::erase_if(all_, [&](const Forcing& earlier) {
      return earlier.what == forcing.what && (forcing.fan.empty() || earlier.fan == forcing.fan);
    });
    all_.push_back(forcing);
    changed_.notify_one();
  }
  void end() {
    const std::lock_guard lock(mutex_);
    over_ = true;
    changed_.notify_one();
  }
  /// Waits for the next one. False: there is none to come.
  bool take(Forcing& forcing) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return over_ || !all_.empty(); });
    if (over_) {
      return false;
    }
    forcing = all_.front();
    all_.pop_front();
    return true;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Forcing> all_;
  bool over_ = false;
};

Wanted& wanted = *new Wanted;
Record* record_of_forcing = nullptr;  // written before the thread starts

std::string value_text(const Forcing& forcing) {
  return forcing.what == Forcing::What::fans && forcing.value == kMaximumSpeed
             ? "maximum"
             : std::to_string(forcing.value);
}

void note(const std::string& what, const Forcing& forcing) {
  if (record_of_forcing != nullptr) {
    record_of_forcing->forced(what, value_text(forcing));
  }
}

void force(const Forcing& forcing) {
  if (forcing.what == Forcing::What::pstate) {
    if (change_pstate(static_cast<std::int32_t>(forcing.value)) < 0) {
      complain("P-state " + value_text(forcing) + " could not be forced");
    } else {
      note("pstate", forcing);
    }
    return;
  }
  const std::list<std::string> names =
      forcing.fan.empty() ? fans : std::list<std::string>{forcing.fan};
  if (change_fans(names, forcing.value) < 0) {
    complain("the fans could not be set to " + value_text(forcing) +
             (forcing.value == kMaximumSpeed ? "" : " RPM"));
    return;
  }
  for (const std::string& name : names) {
    note(name, forcing);
  }
}

void* force_what_is_said(void* /*arg*/) {
  process::keep_capabilities(process::kNoCapabilities);  // forcing needs root, not these
  try {
    for (Forcing forcing; wanted.take(forcing);) {
      force(forcing);
    }
  } catch (const UIDException&) {
    complain("the right to force fans and P-state is gone: they stay as they are");
  }
  return nullptr;
}

}  // namespace

int spawn_forcing(Record* record) {
  record_of_forcing = record;
  wanted.begin();
  return forcing_thread.start(force_what_is_said, fan_thread_priority());
}

void say_forcing(const Forcing& forcing) {
  wanted.add(forcing);
}

void end_forcing() {
  wanted.end();
  forcing_thread.join_within(1);
}

}  // namespace engine
