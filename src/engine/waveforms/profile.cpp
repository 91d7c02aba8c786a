#include "engine/waveforms/profile.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

/// Whether the duty between two points and the one behind them goes on as it came.
bool says_nothing_new(Profile::Between between, double before, double duty, double behind) {
  return before == duty && (between == Profile::Between::steps || duty == behind);
}

}  // namespace

Profile::Profile(Between between, const std::vector<Point>& points) : between_(between) {
  // Summed up in more digits than are kept: the sum is to be exact to a nanosecond after a million
  // points.
  long double on_time_s = 0.0L;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Point& point = points[i];
    if (i != 0) {
      const Point& from = points[i - 1];
      const double mean = between_ == Between::lines ? (from.duty + point.duty) / 2.0 : from.duty;
      on_time_s += static_cast<long double>(mean) *
                   (static_cast<long double>(point.time_s) - static_cast<long double>(from.time_s));
      if (i + 1 < points.size() &&
          says_nothing_new(between_, from.duty, point.duty, points[i + 1].duty)) {
        continue;  // so a stretch of one duty is one, and held_until_s() finds its end at once
      }
    }
    knots_.push_back({point.time_s, point.duty, static_cast<double>(on_time_s)});
  }
  knots_.shrink_to_fit();
}

std::size_t Profile::stretch_at(long double time_s) const {
  const auto behind = std::upper_bound(knots_.begin(), knots_.end(), time_s,
                                       [](long double time, const Knot& knot) {
                                         return time < static_cast<long double>(knot.time_s);
                                       });
  const auto index = static_cast<std::size_t>(std::max<std::ptrdiff_t>(behind - knots_.begin(), 1));
  return std::min(index, knots_.size() - 1) - 1;
}

double Profile::end_duty(std::size_t index) const {
  return between_ == Between::lines ? knots_[index + 1].duty : knots_[index].duty;
}

long double Profile::on_time_s(long double time_s) const {
  time_s = std::clamp(time_s, 0.0L, static_cast<long double>(length_s()));
  const std::size_t index = stretch_at(time_s);
  const Knot& from = knots_[index];
  const auto stretch_s =
      static_cast<long double>(knots_[index + 1].time_s) - static_cast<long double>(from.time_s);
  const long double passed_s = time_s - static_cast<long double>(from.time_s);
  const long double slope = static_cast<long double>(end_duty(index) - from.duty) / stretch_s;
  return static_cast<long double>(from.on_time_s) +
         passed_s * (static_cast<long double>(from.duty) + slope * passed_s / 2);
}

long double Profile::held_until_s(long double time_s) const {
  std::size_t index = stretch_at(time_s);
  const double held = knots_[index].duty;
  if (held != 0.0 && held != 1.0) {
    return time_s;
  }
  long double until_s = time_s;
  for (; index + 1 < knots_.size() && knots_[index].duty == held && end_duty(index) == held;
       ++index) {
    until_s = static_cast<long double>(knots_[index + 1].time_s);
  }
  return until_s;
}

ProfileDuty::ProfileDuty(double carrier_hz, Profile profile, Playing playing)
    : carrier_(static_cast<long double>(carrier_hz)),
      profile_(std::move(profile)),
      playing_(playing),
      length_ns_(nanoseconds(static_cast<long double>(profile_.length_s()))) {}

long double ProfileDuty::on_time_s(long double time_s) const {
  if (playing_ == Playing::once) {
    return profile_.on_time_s(time_s);
  }
  const auto length_s = static_cast<long double>(profile_.length_s());
  const long double rounds = std::floor(time_s / length_s);
  return rounds * profile_.on_time_s(length_s) + profile_.on_time_s(time_s - rounds * length_s);
}

std::optional<Slot> ProfileDuty::slot(std::uint64_t index) const {
  const auto periods = static_cast<long double>(index);
  const long double begin_s = carrier_.instant_s(periods);
  const long double end_s = carrier_.instant_s(periods + 1);
  Slot slot{.begin = nanoseconds(begin_s), .on_end = 0, .end = nanoseconds(end_s)};
  if (playing_ == Playing::once) {
    if (slot.begin >= length_ns_) {
      return std::nullopt;
    }
    slot.end = std::min(slot.end, length_ns_);
  }
  const long double on_s = on_time_s(end_s) - on_time_s(begin_s);
  slot.on_end = std::clamp(nanoseconds(begin_s + on_s), slot.begin, slot.end);
  return slot;
}

std::uint64_t ProfileDuty::next_to_look_at(std::uint64_t index) const {
  long double from_s = carrier_.instant_s(static_cast<long double>(index));
  long double round_s = 0.0L;
  if (playing_ == Playing::looped) {
    const auto length_s = static_cast<long double>(profile_.length_s());
    round_s = std::floor(from_s / length_s) * length_s;
    from_s -= round_s;
  }
  // The last slot of the stretch and not the one behind it: there may be none.
  const long double held_until_s = round_s + profile_.held_until_s(from_s);
  return std::max(index + 2, carrier_.periods_until(held_until_s)) - 1;
}
