// Holds docs/simulated-machine.md to what the model computes: the rows of its tables are made here
// from the model and must stand in the document letter for letter.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <fstream>
#include <initializer_list>
#include <iomanip>
#include <iterator>
#include <numbers>
#include <optional>
#include <sstream>
#include <string>

#include "Workload/activity.h"
#include "machines/simulated/keys.h"
#include "machines/simulated/model.h"
#include "machines/simulated/power.h"

namespace simulated {
namespace {

const std::string& document() {
  static const std::string text = [] {
    std::ifstream file(VORN_DOCS "/simulated-machine.md");
    return std::string(std::istreambuf_iterator<char>(file), {});
  }();
  return text;
}

std::string fixed(double value, int digits) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(digits) << value;
  return text.str();
}

void expect_row_begins(std::initializer_list<std::string> cells) {
  std::string row = "\n|";
  for (const std::string& cell : cells) {
    row += " " + cell + " |";
  }
  EXPECT_NE(document().find(row), std::string::npos) << row;
}

void force_all_to(Model& model, double part_of_most) {
  for (std::size_t fan = 0; fan < kFans.size(); ++fan) {
    model.fans().set_target_rpm(fan, part_of_most * kFans[fan].most_rpm);
  }
  model.fans().set_force_bits(0b111);
}

void expect_settled_row(const std::string& load_name, double load,
                        std::optional<double> forced_part,
                        std::optional<std::size_t> pstate = std::nullopt) {
  Model model;
  model.force_pstate(pstate);
  if (forced_part) {
    force_all_to(model, *forced_part);
  }
  model.advance(3'000'000'000'000, load);  // twenty time constants of the slowest
  const std::string fans = !forced_part ? "automatic" : *forced_part == 0 ? "stopped" : "maximum";
  expect_row_begins({load_name, fans, fixed(model.power_w(), 2), fixed(model.die_c(), 2),
                     fixed(model.sink_c(), 2), fixed(model.fans().speed_rpm(0), 0),
                     fixed(model.fans().speed_rpm(1), 0), fixed(model.fans().speed_rpm(2), 0)});
}

TEST(Document, SteadyStatesAreThoseOfTheModel) {
  expect_settled_row("idle", 0, std::nullopt);
  expect_settled_row("idle", 0, 1);
  expect_settled_row("idle", 0, 0);
  expect_settled_row("half", 0.5, std::nullopt);
  expect_settled_row("spin", kOrdinaryActivity, std::nullopt);
  expect_settled_row("spin", kOrdinaryActivity, 1);
  expect_settled_row("full", 1, std::nullopt);
  expect_settled_row("full", 1, 1);
  expect_settled_row("full", 1, 0);
  expect_settled_row("full, P-state 7", 1, std::nullopt, 7);
}

void expect_said(const std::string& text) {
  EXPECT_NE(document().find(text), std::string::npos) << text;
}

/// The time constant, in s, with which the sink comes to its steady state under full load.
double sink_time_constant(double part_of_most) {
  constexpr std::int64_t kApartNs = 100'000'000'000;
  Model model;
  force_all_to(model, part_of_most);
  model.advance(8 * kApartNs, 1);  // to where the leakage is nearly that of the end
  const double first = model.sink_c();
  model.advance(kApartNs, 1);
  const double second = model.sink_c();
  model.advance(kApartNs, 1);
  return static_cast<double>(kApartNs) / 1e9 /
         std::log((second - first) / (model.sink_c() - second));
}

TEST(Document, TimeConstantsAreThoseOfTheModelWithAndWithoutLeakage) {
  const double capacity = kSinkJPerK + kDieJPerK;
  expect_said(fixed(capacity / kStillAirWPerK, 0) + " s with every fan stopped (G = 1.5 W/K)");
  expect_said("in " + fixed(sink_time_constant(0), 0) + " s, not in " +
              fixed(capacity / kStillAirWPerK, 0) + " s");
}

TEST(Document, PStatesAreThoseOfTheModel) {
  for (std::size_t pstate = 0; pstate < kPStates.size(); ++pstate) {
    const double scale = dynamic_scale(pstate);
    expect_row_begins({std::to_string(pstate), fixed(kPStates[pstate].frequency_mhz, 0),
                       fixed(kPStates[pstate].voltage_v, 2), fixed(scale, 4),
                       fixed(kDynamicW * scale, 2)});
  }
  EXPECT_EQ(document().find("\n| 8 |"), std::string::npos);
}

TEST(Document, FansAreThoseOfTheModel) {
  for (std::size_t fan = 0; fan < kFans.size(); ++fan) {
    expect_row_begins({std::to_string(fan) + " (\"F" + std::to_string(fan) + "Tg\")",
                       fixed(kFans[fan].least_rpm, 0), fixed(kFans[fan].most_rpm, 0)});
  }
}

TEST(Document, KeysAreThoseOfTheController) {
  for (const Key& key : all_keys()) {
    expect_row_begins({"\"" + controller::characters_of(key.code) + "\"",
                       "\"" + controller::characters_of(key.type.code) + "\"",
                       key.assign == nullptr ? "read" : "read, write"});
  }
}

/// The temperature of the die per power of the package at an angular frequency in 1/s.
std::complex<double> die_per_power(double omega, double to_air_w_per_k) {
  const std::complex<double> i_omega(0, omega);
  return 1.0 / (i_omega * kDieJPerK + kDieToSinkWPerK -
                kDieToSinkWPerK * kDieToSinkWPerK /
                    (kDieToSinkWPerK + to_air_w_per_k + i_omega * kSinkJPerK));
}

/// The same, measured on the model under a load that swings between idle and full.
std::complex<double> measured_die_per_power(double hz) {
  const double omega = 2 * std::numbers::pi * hz;
  constexpr double kSliceS = 0.001;
  const int period = static_cast<int>(std::lround(1 / hz / kSliceS));
  const int settling = 20 * period;
  Model model;
  force_all_to(model, 1);
  model.advance(300'000'000'000, 0.5);
  std::complex<double> power;
  std::complex<double> die;
  for (int i = 0; i < settling + 20 * period; ++i) {
    const double t = i * kSliceS;
    const double before_j = model.energy_j();
    model.advance(1'000'000, 0.5 - 0.5 * std::cos(omega * t));
    if (i >= settling) {
      const std::complex<double> reference = std::polar(1.0, -omega * t);
      power += (model.energy_j() - before_j) / kSliceS * reference;
      die += model.die_c() * reference;
    }
  }
  return die / power;
}

TEST(Document, AnswerOfTheDieToAWaveOfPowerIsThatOfTheModel) {
  for (const double hz : {0.02, 0.05, 0.1, 0.2, 0.5, 1.0}) {
    const std::complex<double> formula = die_per_power(2 * std::numbers::pi * hz, 5.5);
    const std::complex<double> measured = measured_die_per_power(hz);
    EXPECT_NEAR(std::abs(measured) / std::abs(formula), 1, 0.005) << hz;
    EXPECT_NEAR(std::arg(measured), std::arg(formula), 0.01) << hz;
    expect_row_begins({hz == 1 ? "1" : fixed(hz, hz < 0.1 ? 2 : 1), fixed(std::abs(formula), 3),
                       fixed(-std::arg(formula) * 180 / std::numbers::pi, 1)});
  }
}

}  // namespace
}  // namespace simulated
