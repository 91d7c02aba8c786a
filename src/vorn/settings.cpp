#include "vorn/settings.h"

#include "vorn/privilege.h"
#include "vorn/waveform.h"

bool noisy = false;
bool monitor = false;
bool invert = false;
double monitor_rate = 1.0;
std::string& output = *new std::string("-");
std::uint32_t cores = kNotGiven;
std::uint32_t binding = kNotGiven;
double frequency = 0.0;
double fanfrequency = 0.0;
std::list<std::string>& keys = *new std::list<std::string>;
std::list<std::string>& fans = *new std::list<std::string>;
std::uint32_t rpm = default_rpm(uid.privileged());
std::int32_t trial_time = 0;
std::int64_t additional_time_us = 0;
bool threads_beside = false;
std::int32_t pstate = default_pstate(uid.privileged());
std::string& given_options = *new std::string;
std::vector<std::string>& workloads = *new std::vector<std::string>;
double sinusoid = 0.0;
double triangle = 0.0;

std::map<std::string, WorkloadFactory*>& factories = *new std::map<std::string, WorkloadFactory*>;

constinit workload_params params = {
    .active = true,
    .mutex = PTHREAD_MUTEX_INITIALIZER,
    .cond = PTHREAD_COND_INITIALIZER,
    .terminate = false,
};

bool using_timing_thread() {
  return frequency > 0.0 || waveform.source != nullptr;
}

bool using_fan_thread() {
  return fanfrequency > 0.0;
}

bool using_monitor_thread() {
  return monitor;
}

bool using_inverted_pwm() {
  return invert;
}

bool using_timer() {
  return trial_time != 0 || additional_time_us != 0;
}

bool using_privileged_operations() {
  return uid.privileged();
}

bool setting_pstate() {
  return static_cast<std::uint32_t>(pstate) < kNotGiven;
}

bool setting_fans() {
  return rpm != 0;
}

int monitor_thread_priority() {
  return 63;
}

int timing_thread_priority() {
  return 63;
}

int fan_thread_priority() {
  return 63;
}

std::uint32_t default_rpm(bool privileged) {
  return privileged ? kMaximumSpeed : 0;
}

std::int32_t default_pstate(bool privileged) {
  return privileged ? 0 : -1;
}
