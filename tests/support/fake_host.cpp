#include "support/fake_host.h"

#include <cerrno>

#include "Host/host.h"
#include "Kx/driver.h"

namespace fake_host {

State& state() {
  static State the_state;
  return the_state;
}

void reset() {
  State& s = state();
  s.role_result = 0;
  s.processors = 2;
  s.priority_result = 0;
  s.highest_priority = 99;
  s.role_calls = 0;
  s.priority_calls = 0;
  s.last_priority = 0;
}

}  // namespace fake_host

int host::set_foreground_role() {
  ++fake_host::state().role_calls;
  return fake_host::state().role_result;
}

int host::processor_count() {
  return fake_host::state().processors;
}

int host::set_fixed_priority(pthread_t /*thread*/, int priority) {
  fake_host::State& s = fake_host::state();
  ++s.priority_calls;
  s.last_priority = priority;
  return priority > s.highest_priority ? EPERM : s.priority_result.load();
}

std::vector<kx::Node> kx::compose_machine() {
  return {};
}
