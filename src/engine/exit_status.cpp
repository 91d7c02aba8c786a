#include "engine/exit_status.h"

#include <array>
#include <cstddef>

namespace engine {

namespace {

// From the least grave on.
constexpr std::array kByGravity = {
    ExitStatus::kEnded,       ExitStatus::kRecordFailed, ExitStatus::kSamplingFailed,
    ExitStatus::kStartMissed, ExitStatus::kLimitReached, ExitStatus::kWrongResult,
};

int gravity_of(ExitStatus status) {
  for (std::size_t gravity = 0; gravity < kByGravity.size(); ++gravity) {
    if (kByGravity[gravity] == status) {
      return static_cast<int>(gravity);
    }
  }
  return 0;
}

}  // namespace

void Verdict::add(ExitStatus status) {
  const int gravity = gravity_of(status);
  int present = gravity_.load();
  while (present < gravity && !gravity_.compare_exchange_weak(present, gravity)) {
  }
}

ExitStatus Verdict::status() const {
  return kByGravity[static_cast<std::size_t>(gravity_.load())];
}

}  // namespace engine
