#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/hwmon/plausible.h"
#include "machines/linux/surroundings/surroundings.h"

/// When forced fans must be given back. Decisions on values: nothing here reads, or allocates.
namespace linux_machine {

/// What one watched attribute said in a round.
struct Reading {
  std::string_view attribute;
  std::optional<double> value;
  std::string_view failure;  ///< names the attribute; while there is no value
};

/// Below critical, from where on no fan may be slower than it was found. Processors are made to run
/// at their limit, and hold it by themselves: to be there is no danger, but to be there with less
/// cooling than automatic control gave is.
constexpr double kMarginC = 5;

/// Above critical, from where on no fan is forced: the processor does not hold its limit.
constexpr double kBeyondC = 3;

constexpr int kFailedReads = 3;  ///< in a row
constexpr int kReadsAtRest = 2;  ///< in a row

/// How long a fan may read 0 after it was told something else.
constexpr std::int64_t kStartGraceNs = 4 * kNsPerS;

/// Adds what is wrong with a temperature that is none.
void add_no_temperature(LineText& text, double celsius);

/// One processor's temperature. Remembers earlier rounds.
class TemperatureSafety {
 public:
  /// One round. True if the fans must be given back; then adds to `why` in words that name the
  /// attribute and what it reads. `cooling`: what is wrong with it, "<fan> turns slower than it was
  /// found"; empty if each fan turns as fast as that.
  bool alarmed(const Reading& celsius, double critical_c, std::string_view cooling, LineText& why);

 private:
  int failed_ = 0;  ///< reads in a row
};

/// One forced fan's speed. Remembers earlier rounds.
class FanSafety {
 public:
  /// The same. `should_turn`: it is told to, and has had the time to start.
  bool alarmed(const Reading& rpm, bool should_turn, LineText& why);

 private:
  int failed_ = 0;   ///< reads in a row
  int at_rest_ = 0;  ///< reads in a row
};

}  // namespace linux_machine
