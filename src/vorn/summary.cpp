#include "vorn/summary.h"

#include <iostream>

#include "vorn/settings.h"
#include "vorn/toggle_schedule.h"
#include "vorn/version.h"
#include "vorn/waveform.h"
#include "vorn/workload_threads.h"

namespace {

struct Rate {
  double hertz;
};

std::ostream& operator<<(std::ostream& out, Rate rate) {
  if (rate.hertz < 1000.0) {
    return out << rate.hertz << "Hz";
  }
  return out << rate.hertz / 1000.0 << "kHz";
}

void summarize_system() {
  std::cerr << longversion << ", running on a " << ncpus() << "-core system";
  if (setting_pstate()) {
    std::cerr << " in P" << pstate;
  }
  std::cerr << std::endl;
}

void summarize_fans() {
  std::cerr << "\t+ fan" << (fans.size() >= 2 ? "s" : "");
  const char* separator = " ";
  for (const std::string& fan : fans) {
    std::cerr << separator << fan;
    separator = ", ";
  }
  std::cerr << " @ ";
  if (rpm < kMaximumSpeed) {
    std::cerr << rpm << "RPM";
  } else {
    std::cerr << "max ";
  }
  std::cerr << std::endl;
}

void summarize_monitor_thread() {
  std::cerr << "\tmonitor thread running at " << monitor_rate << "Hz (priority "
            << monitor_thread_priority() << ")" << std::endl;
}

// Without "inverted" and an envelope, two blanks stand before "at".
void summarize_timing_thread() {
  std::cerr << "\ttiming thread running " << (using_inverted_pwm() ? "inverted " : "");
  if (waveform.description != nullptr) {
    std::cerr << waveform.description;
  } else if (using_pwm_triangle()) {
    std::cerr << triangle << "Hz triangle";
  } else if (using_pwm_sinusoid()) {
    std::cerr << sinusoid << "Hz sinusoid";
  }
  if (frequency > 0.0) {  // a waveform of another program's may have none
    std::cerr << " at " << Rate{frequency};
  }
  std::cerr << " (priority " << timing_thread_priority() << ")" << std::endl;
}

void summarize_fan_thread() {
  std::cerr << "\tfan thread running at " << Rate{fanfrequency} << " (priority "
            << fan_thread_priority() << ")" << std::endl;
}

void summarize_workload_threads() {
  const auto threads = static_cast<unsigned>(num_workload_threads());
  for (unsigned i = 0; i < threads; ++i) {
    std::cerr << "\tworkload thread on core " << thread_to_core(i) << " running \""
              << workloads[thread_to_workload(i)] << "\" (priority " << workload_thread_priority()
              << ")" << std::endl;
  }
}

}  // namespace

void summarize() {
  summarize_system();
  if (setting_fans()) {
    summarize_fans();
  }
  if (using_monitor_thread()) {
    summarize_monitor_thread();
  }
  if (using_timing_thread()) {
    summarize_timing_thread();
  }
  if (using_fan_thread()) {
    summarize_fan_thread();
  }
  summarize_workload_threads();
}
