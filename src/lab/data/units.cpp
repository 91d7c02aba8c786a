#include "lab/data/units.h"

namespace lab {

const std::map<std::string, double>& time_units() {
  static const std::map<std::string, double> kUnits{
      {"us", 1e-6}, {"ms", 1e-3}, {"s", 1}, {"min", 60}, {"h", 3600}};
  return kUnits;
}

const std::map<std::string, double>& power_units() {
  static const std::map<std::string, double> kUnits{
      {"uW", 1e-6}, {"mW", 1e-3}, {"W", 1}, {"kW", 1e3}};
  return kUnits;
}

}  // namespace lab
