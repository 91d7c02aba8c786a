#include "machines/linux/fans/curve_file.h"

#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

#include "machines/linux/fans/assignment.h"
#include "machines/linux/fans/kept_file.h"
#include "machines/linux/sysfs/parse.h"

namespace linux_machine {
namespace {

using sysfs::Done;
using sysfs::Result;

constexpr std::string_view kCurveFileBegin = "vorn fan curve 1";

/// Different texts stay different: '/' becomes '_', and what could be taken for one or is no part
/// of a handsome file name becomes its code.
std::string as_file_name(std::string_view text) {
  std::string name;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '/') {
      name += '_';
    } else if (std::isalnum(byte) != 0 || c == '.' || c == '-' || c == ':') {
      name += c;
    } else {
      constexpr std::string_view kHex = "0123456789abcdef";
      name += {'%', kHex[byte / 16], kHex[byte % 16]};
    }
  }
  return name;
}

/// What every file begins with.
std::string head_text(const FanChannel& fan) {
  return std::string(kCurveFileBegin) + "\ndevice " + fan.device + "\nchip " + fan.chip + "\nfan " +
         std::to_string(fan.channel) + "\n";
}

std::optional<int> parse_small(std::string_view word) {
  const std::optional<long long> value = sysfs::parse_integer(word);
  return value && *value >= 0 && *value <= kMostRpm ? std::optional<int>(static_cast<int>(*value))
                                                    : std::nullopt;
}

}  // namespace

std::string curve_text(const FanChannel& fan, const Curve& curve) {
  std::ostringstream text;
  text << head_text(fan) << "stops-and-starts " << (curve.can_stop() ? "yes" : "no")
       << "\nstart-pwm " << curve.start_pwm() << "\n";
  for (const CurvePoint& point : curve.points()) {
    text << point.pwm << " " << std::lround(point.rpm) << "\n";
  }
  return text.str();
}

std::string still_text(const FanChannel& fan) {
  return head_text(fan) + "turns no\n";
}

Measured load_measured(const std::string& folder, const FanChannel& fan) {
  if (kept_text(curve_path(folder, fan)) == still_text(fan)) {
    return Measured::stands;
  }
  const Result<std::optional<Curve>> curve = load_curve(folder, fan);
  return curve && *curve ? Measured::turns : Measured::not_yet;
}

KnownOfFans known_of_fans(const std::string& folder) {
  std::string wrong;
  std::vector<Assignment> assigned = load_assigned(folder, wrong);
  return {.measured = [folder](const FanChannel& fan) { return load_measured(folder, fan); },
          .assigned = std::move(assigned),
          .wrong = std::move(wrong)};
}

std::optional<Curve> parse_curve(std::string_view text, const FanChannel& fan, std::string& wrong) {
  std::map<std::string, std::string> said;
  std::vector<CurvePoint> points;
  std::istringstream lines{std::string(text)};
  std::string line;
  if (!std::getline(lines, line) || line != kCurveFileBegin) {
    wrong = "it does not begin with \"" + std::string(kCurveFileBegin) + "\"";
    return std::nullopt;
  }
  for (int number = 2; std::getline(lines, line); ++number) {
    const std::size_t blank = line.find(' ');
    const std::string word = line.substr(0, blank);
    const std::string rest = blank == std::string::npos ? "" : line.substr(blank + 1);
    if (const std::optional<int> pwm = parse_small(word)) {
      const std::optional<int> rpm = parse_small(rest);
      if (!rpm) {
        wrong = "line " + std::to_string(number) + " is no pwm and speed";
        return std::nullopt;
      }
      points.push_back({*pwm, static_cast<double>(*rpm)});
    } else if (word.empty() || rest.empty() || !said.emplace(word, rest).second) {
      wrong = "line " + std::to_string(number) + " cannot be understood";
      return std::nullopt;
    }
  }
  if (said["device"] != fan.device || said["chip"] != fan.chip ||
      said["fan"] != std::to_string(fan.channel)) {
    wrong = "it is of another fan";
    return std::nullopt;
  }
  const std::optional<int> start = parse_small(said["start-pwm"]);
  const std::string& stops = said["stops-and-starts"];
  if (!start || (stops != "yes" && stops != "no")) {
    wrong = "it does not say how the fan stops and starts";
    return std::nullopt;
  }
  std::optional<Curve> curve =
      Curve::make(std::move(points),
                  stops == "yes" ? Curve::Stop::stops_and_starts : Curve::Stop::unproven, *start);
  if (!curve) {
    wrong = "its points make no curve";
  }
  return curve;
}

std::string curve_path(const std::string& folder, const FanChannel& fan) {
  return folder + "/" + as_file_name(fan.device) + "_" + as_file_name(fan.chip) + "_fan" +
         std::to_string(fan.channel) + ".curve";
}

Result<std::optional<Curve>> load_curve(const std::string& folder, const FanChannel& fan) {
  const std::string path = curve_path(folder, fan);
  if (access(path.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR)) {
    return std::optional<Curve>();
  }
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  std::string wrong = "it cannot be read";
  std::optional<Curve> curve;
  if (file) {
    curve = parse_curve(text.str(), fan, wrong);
  }
  if (!curve && text.str() == still_text(fan)) {
    return std::optional<Curve>();
  }
  if (!curve) {
    return sysfs::nonsense(path, wrong +
                                     "; remove it, or measure the fan again with "
                                     "\"vorn-keys --calibrate\"");
  }
  return curve;
}

Result<Done> save_curve(const std::string& folder, const FanChannel& fan, const std::string& text) {
  return keep_text(folder, curve_path(folder, fan), text);
}

}  // namespace linux_machine
