#include "support/settings_fixture.h"

#include <getopt.h>

#include "WorkloadRegistry/registry.h"
#include "support/fake_host.h"
#include "vorn/settings.h"
#include "vorn/waveform.h"

namespace {

void reset_settings() {
  noisy = false;
  monitor = false;
  invert = false;
  monitor_rate = 1.0;
  output.assign(1, '-');
  cores = kNotGiven;
  binding = kNotGiven;
  frequency = 0.0;
  fanfrequency = 0.0;
  keys.clear();
  fans.clear();
  rpm = default_rpm(false);
  trial_time = 0;
  additional_time_us = 0;
  threads_beside = false;
  pstate = default_pstate(false);
  given_options.clear();
  workloads.clear();
  sinusoid = 0.0;
  triangle = 0.0;
  waveform = {};
  params.active = true;
  params.terminate = false;
  optind = 0;  // getopt_long() starts anew
  if (factories.empty()) {
    load_factories(factories);
  }
  fake_host::reset();
}

}  // namespace

SettingsFixture::SettingsFixture() {
  reset_settings();
}

SettingsFixture::~SettingsFixture() {
  reset_settings();
}
