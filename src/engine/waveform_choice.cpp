#include "engine/waveform_choice.h"

#include <sstream>
#include <utility>

#include "engine/agreed_start.h"
#include "engine/waveforms/steered.h"
#include "engine/waveforms/waveforms.h"
#include "vorn/interval_source.h"
#include "vorn/settings.h"

namespace engine {

namespace {

constexpr double kSquareDuty = 0.5;

Playing playing(const Request& request) {
  return request.loop ? Playing::looped : Playing::once;
}

Swing swing(const Request& request) {
  return {.offset = request.offset.value_or(0.0), .depth = request.depth};
}

std::string of_file(const char* what, const std::string& path, const Request& request) {
  return std::string(what) + " \"" + path + (request.loop ? "\" in a loop" : "\"");
}

std::string swing_text(double hertz, const char* shape, const Request& request) {
  std::ostringstream text;
  const double low = request.offset.value_or(0.0);
  text << hertz << "Hz " << shape;
  if (request.offset || request.depth) {
    text << " from duty " << low << " to " << (request.depth ? low + *request.depth : 1.0);
  }
  return text.str();
}

}  // namespace

WaveformChoice choose_waveform(const Request& request) {
  if (request.edges) {
    return {raw_edges(*request.edges, playing(request)), of_file("edges", *request.edges, request)};
  }
  if (request.profile) {
    return {profile_duty(frequency, *request.profile, playing(request)),
            of_file("profile", *request.profile, request)};
  }
  if (request.steer) {
    auto source = std::make_unique<SteeredSource>(frequency);
    SteeredSource* const steered = source.get();
    return {std::move(source), "steered by standard input", steered};
  }
  if (request.duty) {
    std::ostringstream text;
    text << "duty " << *request.duty;
    return {constant_duty(frequency, *request.duty), text.str()};
  }
  if (sinusoid > 0.0) {
    return {sinusoid_duty(frequency, sinusoid, swing(request)),
            swing_text(sinusoid, "sinusoid", request)};
  }
  if (triangle > 0.0) {
    return {triangle_duty(frequency, triangle, swing(request)),
            swing_text(triangle, "triangle", request)};
  }
  if (frequency > 0.0) {
    return {.source = constant_duty(frequency, kSquareDuty), .description = ""};
  }
  if (request.at_ns) {
    return {std::make_unique<SteadySource>(), "steady load"};
  }
  return {.source = nullptr, .description = ""};
}

}  // namespace engine
