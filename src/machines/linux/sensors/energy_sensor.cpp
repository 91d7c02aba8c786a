#include "machines/linux/sensors/energy_sensor.h"

#include <algorithm>
#include <utility>

#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {
namespace {

using Outcome = EnergyMeter::Outcome;

// Half of the time that a read takes is how far its time stamp can be off. A reader that was held
// up meanwhile reads again, and the quickest read counts. Of two at the ends of the shortest window
// quick ones are off by a five-hundredth of it, the slowest by a tenth.
constexpr std::int64_t kQuickReadNs = kNsPerMs / 10;
constexpr std::int64_t kSlowestReadNs = 5 * kNsPerMs;
constexpr int kTries = 3;

// More than the 50 ms steps of two seconds: the longest that a counter can stand still, and as
// much again for the first window of one as slow as that.
constexpr int kMostRounds = 50;

class EnergySensor : public Sensor {
 public:
  EnergySensor(const Surroundings& surroundings, const std::vector<EnergyCounter>& counters)
      : surroundings_(surroundings) {
    for (const EnergyCounter& one : counters) {
      counters_.push_back(
          {.attribute = sysfs::Attribute::open(surroundings.sys, one.attribute, sysfs::Mode::read),
           .meter = EnergyMeter(one.limits)});
    }
    begin();
  }

  sysfs::Result<double> read() override {
    std::size_t rejections = 0;
    for (int round = 0; round < kMostRounds; ++round) {
      clock_ns_ = wait_until_ready();
      double sum_w = 0;
      bool complete = true;
      for (Counter& counter : counters_) {
        const sysfs::Result<EnergyReading> reading = sample(counter);
        if (!reading) {
          return reading.failure();
        }
        const EnergyMeter::Taken taken = counter.meter.take(*reading);
        sum_w += taken.power_w;
        complete = complete && taken.outcome == Outcome::measured;
        if (begins_anew(taken.outcome)) {
          ++rejections;
          note(counter, taken.outcome);
        }
        // All counters may have begun anew at once, and each but once.
        if (taken.outcome == Outcome::stuck || rejections > counters_.size()) {
          return trouble_of(counter, taken.outcome);
        }
      }
      if (complete) {
        if (begun_anew_ != nullptr) {
          tell_what_is_shown();
        }
        has_shown_ = true;
        return sum_w;
      }
    }
    return trouble_of(counters_.front(), Outcome::stuck);
  }

 private:
  struct Counter {
    sysfs::Result<sysfs::Attribute> attribute;
    EnergyMeter meter;
    std::int64_t quickest_ns = 0;  ///< of its reads; 0: there was none

    /// Whether a read took no longer than it has to: some counters are always slow.
    bool was_quick(std::int64_t took_ns) const {
      return took_ns <= std::clamp(2 * quickest_ns, kQuickReadNs, kSlowestReadNs);
    }
  };

  /// The readings that the first window begins with. What fails here fails in read() again.
  void begin() {
    clock_ns_ = surroundings_.now_ns();
    for (Counter& counter : counters_) {
      if (const sysfs::Result<EnergyReading> reading = sample(counter)) {
        counter.meter.take(*reading);
      }
    }
  }

  /// Returns the time.
  std::int64_t wait_until_ready() {
    std::int64_t ready_at = 0;
    for (const Counter& counter : counters_) {
      ready_at = std::max(ready_at, counter.meter.ready_at_ns());
    }
    std::int64_t now = surroundings_.now_ns();
    while (now < ready_at) {
      surroundings_.sleep_for(ready_at - now);
      now = surroundings_.now_ns();
    }
    return now;
  }

  /// Reads a counter between clock_ns_ and what it becomes: the end of one reading is the
  /// beginning of the next counter's.
  sysfs::Result<EnergyReading> sample(Counter& counter) {
    if (!counter.attribute) {
      return counter.attribute.failure();
    }
    EnergyReading best;
    std::int64_t best_ns = kSlowestReadNs + 1;
    for (int tries = 0; tries < kTries; ++tries) {
      const std::int64_t before = clock_ns_;
      const sysfs::Result<long long> energy = counter.attribute->read_integer();
      clock_ns_ = surroundings_.now_ns();
      if (!energy) {
        return energy.failure();
      }
      if (*energy < 0) {
        return sysfs::nonsense(counter.attribute->path(), "an energy below zero");
      }
      if (const std::int64_t took_ns = clock_ns_ - before; took_ns < best_ns) {
        best = {.at_ns = before + took_ns / 2, .energy_uj = *energy};
        best_ns = took_ns;
      }
      if (counter.was_quick(best_ns)) {
        break;
      }
    }
    if (best_ns <= kSlowestReadNs) {
      counter.quickest_ns =
          counter.quickest_ns == 0 ? best_ns : std::min(counter.quickest_ns, best_ns);
      return best;
    }
    return silence(counter, "it takes more than 5 ms");
  }

  static bool begins_anew(Outcome outcome) {
    return outcome == Outcome::too_rare || outcome == Outcome::rejected;
  }

  /// Keeps for the user that the time since the read before was not measured. Of the first read
  /// there is nothing to tell: it has none before it.
  void note(const Counter& counter, Outcome why) {
    bool& told = why == Outcome::too_rare ? told_of_rare_reads_ : told_of_jumps_;
    if (has_shown_ && !told) {
      told = true;
      begun_anew_ = &counter;
      why_ = why;
    }
  }

  void tell_what_is_shown() {
    const std::int64_t most_s = begun_anew_->meter.longest_window_ns() / kNsPerS;
    const std::string why =
        why_ == Outcome::too_rare
            ? "read too rarely to tell its wraps (every " + std::to_string(most_s) + " s at most)"
            : "the counter has jumped, as after a suspend";
    surroundings_.report(begun_anew_->attribute->path() + ": " + why +
                         "; the power shown is that of the last 50 ms");
    begun_anew_ = nullptr;
  }

  static sysfs::Failure silence(const Counter& counter, const char* why) {
    return {sysfs::Trouble::silent, "reading " + counter.attribute->path() + ": " + why};
  }

  static sysfs::Failure trouble_of(const Counter& counter, Outcome outcome) {
    switch (outcome) {
      case Outcome::rejected:
        return sysfs::nonsense(counter.attribute->path(), "no power can be so large");
      case Outcome::too_rare:
        return sysfs::nonsense(counter.attribute->path(), "it wraps too fast to be measured");
      default:
        return silence(counter, "the counter does not move");
    }
  }

  const Surroundings& surroundings_;
  std::vector<Counter> counters_;
  std::int64_t clock_ns_ = 0;
  bool has_shown_ = false;  // a power
  bool told_of_rare_reads_ = false;
  bool told_of_jumps_ = false;
  const Counter* begun_anew_ = nullptr;  // what the user is to be told of with the next power
  Outcome why_ = Outcome::rejected;
};

}  // namespace

std::unique_ptr<Sensor> connect_energy(const Surroundings& surroundings,
                                       const std::vector<EnergyCounter>& counters) {
  return std::make_unique<EnergySensor>(surroundings, counters);
}

}  // namespace linux_machine
