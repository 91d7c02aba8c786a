#include "engine/waveforms/steering.h"

#include <charconv>
#include <optional>
#include <vector>

#include "engine/waveforms/text_lines.h"

namespace engine {

namespace {

using What = Steering::What;

constexpr double kSlowestHz = 1e-6;  // a wave of eleven days, as of the other waveforms

std::optional<double> number_of(std::string_view text) {
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

bool is_fraction(double value) {
  return value >= 0.0 && value <= 1.0;  // NaN is not
}

Parsed<Steering> refuse(std::string_view word, const char* why) {
  return Parsed<Steering>::no(shown_text(word) + why);
}

Parsed<Steering> parse_duty(std::string_view word) {
  const std::optional<double> duty = number_of(word);
  if (!duty || !is_fraction(*duty)) {
    return refuse(word, " is not a duty from 0 to 1");
  }
  return {Steering{.what = What::duty, .hz = 0.0, .offset = *duty, .depth = 0.0}, {}};
}

Parsed<Steering> parse_swing(What what, const std::vector<std::string_view>& words,
                             double carrier_hz) {
  const std::optional<double> hz = number_of(words[1]);
  if (!hz || !(*hz >= kSlowestHz)) {
    return refuse(words[1], " is not a frequency from 1e-06 Hz on");
  }
  if (!(*hz <= carrier_hz / 2)) {
    return refuse(words[1], " Hz is above half of --frequency, which cannot show it");
  }
  const std::optional<double> offset = number_of(words[2]);
  if (!offset || !is_fraction(*offset)) {
    return refuse(words[2], " is not an offset from 0 to 1");
  }
  const std::optional<double> depth = number_of(words[3]);
  if (!depth || !is_fraction(*depth)) {
    return refuse(words[3], " is not a depth from 0 to 1");
  }
  if (*offset + *depth > 1.0) {
    return Parsed<Steering>::no("offset and depth add up to a duty above 1");
  }
  return {Steering{.what = what, .hz = *hz, .offset = *offset, .depth = *depth}, {}};
}

}  // namespace

Parsed<Steering> parse_steering(std::string_view line, double carrier_hz) {
  const std::vector<std::string_view> words = words_of(line);
  if (line.size() > SteeringLines::kLongest) {
    return Parsed<Steering>::no("the line is too long");
  }
  if (words.size() == 1 && words[0] == "end") {
    return {Steering{.what = What::end, .hz = 0.0, .offset = 0.0, .depth = 0.0}, {}};
  }
  if (words.size() == 2 && words[0] == "duty") {
    return parse_duty(words[1]);
  }
  if (words.size() == 4 && (words[0] == "sinusoid" || words[0] == "triangle")) {
    return parse_swing(words[0] == "sinusoid" ? What::sinusoid : What::triangle, words, carrier_hz);
  }
  return Parsed<Steering>::no("it is none of the lines that are known");
}

const char* steering_name(Steering::What what) {
  switch (what) {
    case What::duty:
      return "duty";
    case What::sinusoid:
      return "sinusoid";
    case What::triangle:
      return "triangle";
    case What::end:
      return "end";
  }
  return "";
}

}  // namespace engine
