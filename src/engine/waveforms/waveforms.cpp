#include "engine/waveforms/waveforms.h"

#include <sstream>

#include "engine/waveforms/edge_list.h"
#include "engine/waveforms/profile.h"
#include "engine/waveforms/pulses.h"
#include "engine/waveforms/shapes.h"

namespace {

void check_duty(const char* what, double duty) {
  if (duty >= 0.0 && duty <= 1.0) {  // NaN is not
    return;
  }
  std::ostringstream text;
  text << what << " of " << duty << ": must be from 0 to 1";
  throw WaveformError(text.str());
}

std::unique_ptr<IntervalSource> shaped(Shape shape, double carrier_hz, double shape_hz,
                                       const Swing& swing) {
  check_frequency("a carrier", carrier_hz);
  check_frequency("a wave", shape_hz);
  check_duty("an offset", swing.offset);
  const double depth = swing.depth.value_or(1.0 - swing.offset);
  check_duty("a depth", depth);
  check_duty("an offset with its depth", swing.offset + depth);
  if (depth == 0.0) {
    return constant_duty(carrier_hz, swing.offset);
  }
  return std::make_unique<PulseSource<ShapedDuty>>(shape, carrier_hz, shape_hz, swing.offset,
                                                   depth);
}

}  // namespace

std::unique_ptr<IntervalSource> constant_duty(double carrier_hz, double duty) {
  check_frequency("a carrier", carrier_hz);
  check_duty("a duty", duty);
  if (duty == 0.0 || duty == 1.0) {
    return std::make_unique<HeldLevel>(duty == 1.0);
  }
  return std::make_unique<PulseSource<ConstantDuty>>(carrier_hz, duty);
}

std::unique_ptr<IntervalSource> sinusoid_duty(double carrier_hz, double shape_hz, Swing swing) {
  return shaped(Shape::sinusoid, carrier_hz, shape_hz, swing);
}

std::unique_ptr<IntervalSource> triangle_duty(double carrier_hz, double shape_hz, Swing swing) {
  return shaped(Shape::triangle, carrier_hz, shape_hz, swing);
}

std::unique_ptr<IntervalSource> profile_duty(double carrier_hz, const std::string& path,
                                             Playing playing) {
  check_frequency("a carrier", carrier_hz);
  return std::make_unique<PulseSource<ProfileDuty>>(carrier_hz, read_profile(path), playing);
}

std::unique_ptr<IntervalSource> raw_edges(const std::string& path, Playing playing) {
  return std::make_unique<EdgeListSource>(read_edges(path, playing), playing);
}
