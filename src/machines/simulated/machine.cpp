#include "machines/simulated/machine.h"

#include <algorithm>
#include <utility>

namespace simulated {
namespace {

constexpr std::int64_t kRefreshNs = 1'000'000;

// Eight times the slowest time constant, 146 s at full load with every fan stopped: what lies
// before is forgotten, and need not be calculated by a driver's caller who waits. A run that does
// not sample calls once, at its end.
constexpr std::int64_t kLongestNs = 1'200'000'000'000;

}  // namespace

Machine::Machine(Surroundings surroundings)
    : surroundings_(std::move(surroundings)),
      last_ns_(surroundings_.now_ns()),
      last_processor_time_ns_(surroundings_.processor_time_ns()) {}

// The kernel brings the time of a running thread up to date only every few milliseconds, so a short
// stretch can show more processor time than the processors have. What is too much belongs to the
// stretches around it: it is owed to the next ones, but for what no processor could ever
// have spent.
void Machine::catch_up() {
  const std::int64_t now = surroundings_.now_ns();
  const std::int64_t elapsed = now - last_ns_;
  if (elapsed < kRefreshNs) {
    return;
  }
  const std::int64_t used = surroundings_.processor_time_ns();
  owed_ns_ += std::max<std::int64_t>(0, used - last_processor_time_ns_);
  last_ns_ = now;
  last_processor_time_ns_ = used;

  const std::int64_t capacity = elapsed * surroundings_.processors;
  const std::int64_t spent = std::min(owed_ns_, capacity);
  model_.sit_out(std::max<std::int64_t>(0, elapsed - kLongestNs));
  model_.advance(std::min(elapsed, kLongestNs),
                 static_cast<double>(spent) / static_cast<double>(capacity));

  // A process that runs on more processors than were counted would run up a debt without end.
  constexpr std::int64_t kMostOwedNs = 100'000'000;
  owed_ns_ = std::min(owed_ns_ - spent, kMostOwedNs * surroundings_.processors);
}

std::uint32_t Machine::read(const Key& key) {
  const std::lock_guard<std::mutex> lock(mutex_);
  catch_up();
  return key.type.encode(key.value(model_));
}

void Machine::write(const Key& key, std::uint32_t steps) {
  const std::lock_guard<std::mutex> lock(mutex_);
  catch_up();
  key.assign(model_, key.type.decode(steps));
}

bool Machine::claim_pstates() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !std::exchange(pstates_claimed_, true);
}

void Machine::release_pstates() {
  const std::lock_guard<std::mutex> lock(mutex_);
  catch_up();
  model_.force_pstate(std::nullopt);
  pstates_claimed_ = false;
}

void Machine::force_pstate(std::optional<std::size_t> pstate) {
  const std::lock_guard<std::mutex> lock(mutex_);
  catch_up();
  model_.force_pstate(pstate);
}

Model Machine::inspect() {
  const std::lock_guard<std::mutex> lock(mutex_);
  catch_up();
  return model_;
}

Machine& machine() {
  static Machine& the_machine = *new Machine(real_surroundings());
  return the_machine;
}

}  // namespace simulated
