#include "lab/fakes/fake_ladder.h"

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <random>

namespace lab {

namespace {

constexpr double kAmbient_c = 25;

double response(const std::vector<FosterStage>& stages, double time_s) {
  double z = 0;
  for (const FosterStage& stage : stages) {
    z -= time_s > 0 ? stage.resistance * std::expm1(-time_s / stage.tau_s) : 0;
  }
  return z;
}

}  // namespace

std::vector<FosterStage> FakeLadder::stages(std::size_t at_rung) const {
  const auto count = static_cast<Eigen::Index>(rungs.size());
  Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(count, count);
  for (Eigen::Index at = 0; at < count; ++at) {
    const Rung& rung = rungs[static_cast<std::size_t>(at)];
    matrix(at, at) += 1 / rung.resistance / rung.capacitance;
    if (at + 1 < count) {
      const double next = rungs[static_cast<std::size_t>(at) + 1].capacitance;
      matrix(at + 1, at + 1) += 1 / rung.resistance / next;
      matrix(at + 1, at) = matrix(at, at + 1) =
          -1 / rung.resistance / std::sqrt(rung.capacitance * next);
    }
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> modes(matrix);
  const auto there = static_cast<Eigen::Index>(at_rung);
  const double scale = std::sqrt(rungs[0].capacitance * rungs[at_rung].capacitance);
  std::vector<FosterStage> stages;
  for (Eigen::Index mode = count; mode-- > 0;) {
    const double rate = modes.eigenvalues()[mode];
    const double residue =
        modes.eigenvectors()(0, mode) * modes.eigenvectors()(there, mode) / scale;
    stages.push_back({.resistance = residue / rate, .tau_s = 1 / rate});
  }
  return stages;
}

StepInput FakeLadder::heating(double watts, double first_s, double last_s, int to_a_decade,
                              std::size_t case_rung) const {
  StepInput input;
  input.heat_name = "watts";
  input.time_s = {0};
  input.heat = {0};
  const double decades = std::log10(last_s / first_s);
  const int count = static_cast<int>(std::ceil(decades * to_a_decade));
  for (int at = 0; at <= count; ++at) {
    input.time_s.push_back(first_s * std::pow(10.0, static_cast<double>(at) / to_a_decade));
    input.heat.push_back(watts);
  }
  input.temperatures = {{"die", "degC", "", {}}};
  if (case_rung > 0) {
    input.temperatures.push_back({"case", "degC", "", {}});
  }
  for (std::size_t column = 0; column < input.temperatures.size(); ++column) {
    const std::vector<FosterStage> here = stages(column * case_rung);
    for (const double time_s : input.time_s) {
      input.temperatures[column].values.push_back(kAmbient_c + watts * response(here, time_s));
    }
  }
  return input;
}

StepInput FakeLadder::step(double watts, double heat_s, double every_s,
                           std::size_t case_rung) const {
  constexpr double kIdle_s = 5;
  StepInput input;
  input.heat_name = "watts";
  const int count = static_cast<int>(std::lround((kIdle_s + 2 * heat_s) / every_s));
  for (int at = 0; at <= count; ++at) {
    const double time_s = at * every_s;
    input.time_s.push_back(time_s);
    input.heat.push_back(
        time_s > kIdle_s + every_s / 2 && time_s < kIdle_s + heat_s + every_s / 2 ? watts : 0);
  }
  input.temperatures = {{"die", "degC", "", {}}};
  if (case_rung > 0) {
    input.temperatures.push_back({"case", "degC", "", {}});
  }
  for (std::size_t column = 0; column < input.temperatures.size(); ++column) {
    const std::vector<FosterStage> here = stages(column * case_rung);
    for (const double time_s : input.time_s) {
      const double since_s = time_s - kIdle_s;
      input.temperatures[column].values.push_back(
          kAmbient_c + watts * (response(here, since_s) - response(here, since_s - heat_s)));
    }
  }
  return input;
}

FakeLadder random_ladder(std::size_t rungs, double fastest_s, double apart, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> log_size(std::log(0.1), std::log(0.3));
  std::vector<FosterStage> stages;
  double tau_s = fastest_s;
  for (std::size_t at = 0; at < rungs; ++at) {
    stages.push_back({.resistance = std::exp(log_size(random)), .tau_s = tau_s});
    tau_s *= apart;
  }
  return {ladder_of(stages)};
}

}  // namespace lab
