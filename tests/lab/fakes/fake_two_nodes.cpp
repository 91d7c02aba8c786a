#include "lab/fakes/fake_two_nodes.h"

#include <cmath>

namespace lab {

namespace {

// The characteristic equation in the rate: a r^2 - b r + c = 0.
struct DecayRates {
  double fast;
  double slow;
};

DecayRates rates_of(const TwoNodes& nodes) {
  const double a = nodes.die_j_k * nodes.sink_j_k;
  const double b =
      nodes.die_j_k * (nodes.between_w_k + nodes.air_w_k) + nodes.sink_j_k * nodes.between_w_k;
  const double c = nodes.between_w_k * nodes.air_w_k;
  const double root = std::sqrt(b * b - 4 * a * c);
  return {.fast = (b + root) / (2 * a), .slow = (b - root) / (2 * a)};
}

}  // namespace

double TwoNodes::fast_s() const {
  return 1 / rates_of(*this).fast;
}
double TwoNodes::slow_s() const {
  return 1 / rates_of(*this).slow;
}

double TwoNodes::die_fast_k_w() const {
  // Z(s) = (sink s + between + air) / (die sink (s + fast) (s + slow)).
  const DecayRates rates = rates_of(*this);
  const double residue = (sink_j_k * rates.fast - between_w_k - air_w_k) /
                         (die_j_k * sink_j_k * (rates.fast - rates.slow));
  return residue / rates.fast;
}

StepInput TwoNodes::record(const std::function<double(double)>& load, double length_s,
                           double step_s) const {
  const auto leakage_w = [](double die_c) { return 4 * std::exp2((die_c - 50) / 30); };
  double power_w = idle_w;
  double sink_c = air_c;
  double die_c = air_c;
  for (int round = 0; round < 50; ++round) {
    power_w = idle_w + dynamic_w * load(0) + leakage_w(die_c);
    sink_c = air_c + power_w / air_w_k;
    die_c = sink_c + power_w / between_w_k;
  }
  StepInput input;
  input.heat_name = "PC0C";
  input.temperatures = {{"TC0D", "degC", "", {}}, {"TC0P", "degC", "", {}}};
  const auto look = [&](double time_s, double mean_w) {
    input.time_s.push_back(time_s);
    input.heat.push_back(mean_w);
    input.temperatures[0].values.push_back(die_c);
    input.temperatures[1].values.push_back(sink_c);
  };
  look(0, power_w);
  const int looks = static_cast<int>(std::lround(length_s / step_s));
  const int parts = static_cast<int>(std::ceil(step_s / 0.002));
  const double part_s = step_s / parts;
  for (int at = 1; at <= looks; ++at) {
    double energy_j = 0;
    for (int part = 0; part < parts; ++part) {
      // Heun's method: the midpoint's slopes by an explicit half step.
      power_w =
          idle_w + dynamic_w * load((at - 1) * step_s + (part + 0.5) * part_s) + leakage_w(die_c);
      const double flow_w = between_w_k * (die_c - sink_c);
      const double middle_die = die_c + part_s / 2 * (power_w - flow_w) / die_j_k;
      const double middle_sink =
          sink_c + part_s / 2 * (flow_w - air_w_k * (sink_c - air_c)) / sink_j_k;
      const double middle_flow_w = between_w_k * (middle_die - middle_sink);
      die_c += part_s * (power_w - middle_flow_w) / die_j_k;
      sink_c += part_s * (middle_flow_w - air_w_k * (middle_sink - air_c)) / sink_j_k;
      energy_j += power_w * part_s;
    }
    look(at * step_s, energy_j / step_s);
  }
  return input;
}

void disturb(StepInput& input, double noise, double step, std::mt19937_64& random) {
  std::normal_distribution<double> normal(0, noise);
  for (Column& column : input.temperatures) {
    for (double& value : column.values) {
      value += noise > 0 ? normal(random) : 0;
      value = step > 0 ? step * std::round(value / step) : value;
    }
  }
}

double one_step(double time_s) {
  return time_s >= 5 && time_s < 90 ? 1 : 0;
}

}  // namespace lab
