#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "machines/linux/surroundings.h"
#include "machines/linux/sysfs/attribute.h"

namespace linux_machine {

/// A processor's temperature that is watched while fans are forced.
struct WatchedTemperature {
  std::string attribute;  ///< in millidegrees, below the root
  double critical_c;      ///< where the processor protects itself
};

struct TemperatureReading {
  const WatchedTemperature& watched;
  sysfs::Result<double> celsius;
};

struct FanReading {
  std::string attribute;
  sysfs::Result<double> rpm;
  bool should_turn;  ///< it is told to, and has had the time to start
};

constexpr double kMarginC = 5;   ///< below critical, from where on no fan is forced
constexpr int kFailedReads = 3;  ///< in a row
constexpr int kReadsAtRest = 2;  ///< in a row

/// How long a fan may read 0 after it was told something else.
constexpr std::int64_t kStartGraceNs = 4 * kNsPerS;

/// Decides when forced fans must be given back. Remembers what earlier rounds read.
class Safety {
 public:
  /// One round. Returns why the fans must be given back, in words that name the attribute and
  /// what it reads; none if all is well.
  std::optional<std::string> judge(std::span<const TemperatureReading> temperatures,
                                   std::span<const FanReading> fans);

  /// Forgets earlier rounds.
  void begin_anew();

 private:
  std::optional<std::string> judge_read(const std::string& attribute,
                                        const sysfs::Result<double>& read);

  std::map<std::string, int> failed_;   ///< reads in a row
  std::map<std::string, int> at_rest_;  ///< reads in a row
};

/// The watched temperatures, opened once.
class Thermometers {
 public:
  explicit Thermometers(std::vector<WatchedTemperature> watched) : watched_(std::move(watched)) {}

  /// Opens them; done again, nothing. A temperature that cannot be opened is a failure.
  sysfs::Result<sysfs::Done> open(sysfs::Tree& tree);

  /// Whether there is none at all.
  bool none() const { return watched_.empty(); }

  /// Requires: they are open.
  std::vector<TemperatureReading> read();

 private:
  const std::vector<WatchedTemperature> watched_;
  std::vector<sysfs::Attribute> attributes_;
};

/// What a temperature attribute says, degrees C. What no running processor can be is nonsense.
sysfs::Result<double> celsius_said(const std::string& path, long long millidegrees);

}  // namespace linux_machine
