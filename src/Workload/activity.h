#pragma once

#include <cstdint>
#include <ctime>

/// How much of a processor's dynamic power a kind of work draws, 1 being the most. Real machines
/// need not be told; a simulated one asks. Ordinary code, the spin loops' too, draws this:
inline constexpr double kOrdinaryActivity = 0.55;

/// Says that the calling thread does work of another activity, for as long as this object lives.
/// Must be destroyed by the same thread. Threads that say nothing are ordinary.
class Activity {
 public:
  /// Requires: 0 to 1.
  explicit Activity(double activity);
  Activity(const Activity&) = delete;
  Activity& operator=(const Activity&) = delete;
  ~Activity();

 private:
  friend double activity_excess_ns();

  double excess_ns() const;

  const double excess_;  ///< over kOrdinaryActivity
  clockid_t clock_{};    ///< the thread's processor time
  std::int64_t begun_ns_ = 0;
  Activity* next_ = nullptr;
  Activity* previous_ = nullptr;
};

/// What all threads' processor time so far comes to beyond kOrdinaryActivity of it, in ns: the sum
/// of (activity - kOrdinaryActivity) * time, those included that have ended. Costs one system call
/// for each thread that has said something. Thread: any.
double activity_excess_ns();
