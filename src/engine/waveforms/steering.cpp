#include "engine/waveforms/steering.h"

#include <algorithm>
#include <charconv>
#include <cmath>
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
  return {.value = Steering{.what = What::duty, .hz = 0.0, .offset = *duty, .depth = 0.0},
          .refused = {}};
}

// What must hold of every frequency; empty if it does.
const char* wrong_frequency(const std::optional<double>& hz, double carrier_hz) {
  if (!hz || !(*hz >= kSlowestHz)) {
    return " is not a frequency from 1e-06 Hz on";
  }
  return *hz <= carrier_hz / 2 ? nullptr : " Hz is above half of --frequency, which cannot show it";
}

Parsed<Steering> parse_swing(What what, const std::vector<std::string_view>& words,
                             double carrier_hz) {
  const std::optional<double> hz = number_of(words[1]);
  if (const char* wrong = wrong_frequency(hz, carrier_hz)) {
    return refuse(words[1], wrong);
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
  return {.value = Steering{.what = what, .hz = *hz, .offset = *offset, .depth = *depth},
          .refused = {}};
}

Parsed<Steering> parse_sines(const std::vector<std::string_view>& words, double carrier_hz) {
  const std::optional<double> mean = number_of(words[1]);
  if (!mean || !is_fraction(*mean)) {
    return refuse(words[1], " is not a mean from 0 to 1");
  }
  Steering steering{.what = What::sines, .hz = 0.0, .offset = *mean, .depth = 0.0};
  for (std::size_t at = 2; at + 2 < words.size(); at += 3) {
    const std::optional<double> hz = number_of(words[at]);
    if (const char* wrong = wrong_frequency(hz, carrier_hz)) {
      return refuse(words[at], wrong);
    }
    const std::optional<double> amplitude = number_of(words[at + 1]);
    if (!amplitude || !is_fraction(*amplitude)) {
      return refuse(words[at + 1], " is not an amplitude from 0 to 1");
    }
    const std::optional<double> degrees = number_of(words[at + 2]);
    if (!degrees || !std::isfinite(*degrees)) {
      return refuse(words[at + 2], " is not an angle in degrees");
    }
    steering.hz = steering.sine_count == 0 ? *hz : std::min(steering.hz, *hz);
    steering.depth += 2 * *amplitude;
    steering.sines[steering.sine_count++] = {*hz, *amplitude, *degrees};
  }
  return {.value = steering, .refused = {}};
}

}  // namespace

Parsed<Steering> parse_steering(std::string_view line, double carrier_hz) {
  const std::vector<std::string_view> words = words_of(line);
  if (line.size() > SteeringLines::kLongest) {
    return Parsed<Steering>::no("the line is too long");
  }
  if (words.size() == 1 && words[0] == "end") {
    return {.value = Steering{.what = What::end, .hz = 0.0, .offset = 0.0, .depth = 0.0},
            .refused = {}};
  }
  if (words.size() == 2 && words[0] == "duty") {
    return parse_duty(words[1]);
  }
  if (words.size() == 4 && (words[0] == "sinusoid" || words[0] == "triangle")) {
    return parse_swing(words[0] == "sinusoid" ? What::sinusoid : What::triangle, words, carrier_hz);
  }
  const std::size_t most_words = 2 + 3 * Steering::kMostSines;
  if (words.size() >= 5 && words[0] == "sines" && words.size() % 3 == 2) {
    return words.size() <= most_words ? parse_sines(words, carrier_hz)
                                      : Parsed<Steering>::no("there are more than 16 sinusoids");
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
    case What::sines:
      return "sines";
    case What::end:
      return "end";
  }
  return "";
}

}  // namespace engine
