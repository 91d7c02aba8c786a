#include "machines/linux/watch/safety.h"

#include <array>
#include <charconv>
#include <cmath>

namespace linux_machine {
namespace {

void add_number(LineText& text, long long number) {
  std::array<char, 24> digits;
  const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  text.add({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void add_degrees(LineText& text, double celsius) {
  add_number(text, std::lround(celsius));
  text.add(" degrees");
}

/// Counts reads that failed. True once there are too many in a row.
bool fails(const Reading& reading, int& failed, LineText& why) {
  failed = reading.value ? 0 : failed + 1;
  if (failed < kFailedReads) {
    return false;
  }
  why.add(reading.failure).add(", ");
  add_number(why, failed);
  why.add(" times in a row");
  return true;
}

}  // namespace

void add_no_temperature(LineText& text, double celsius) {
  add_degrees(text, celsius);
  text.add(" is no processor's temperature");
}

bool TemperatureSafety::alarmed(const Reading& celsius, double critical_c, std::string_view cooling,
                                LineText& why) {
  const double limit_c = cooling.empty() ? critical_c + kBeyondC : critical_c - kMarginC;
  if (celsius.value && *celsius.value >= limit_c) {
    why.add(celsius.attribute).add(" reads ");
    add_degrees(why, *celsius.value);
    why.add(cooling.empty() ? ", and " : ", ");
    add_degrees(why, critical_c);
    why.add(" are critical");
    if (!cooling.empty()) {
      why.add(", and ").add(cooling);
    }
    return true;
  }
  return fails(celsius, failed_, why);
}

bool FanSafety::alarmed(const Reading& rpm, bool should_turn, LineText& why) {
  if (fails(rpm, failed_, why)) {
    return true;
  }
  if (!rpm.value) {
    return false;
  }
  at_rest_ = should_turn && *rpm.value <= 0 ? at_rest_ + 1 : 0;
  if (at_rest_ < kReadsAtRest) {
    return false;
  }
  why.add(rpm.attribute).add(" reads 0 RPM, and the fan should turn");
  return true;
}

}  // namespace linux_machine
