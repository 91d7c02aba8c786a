#include "engine/record/record_head.h"

#include <sys/utsname.h>
#include <unistd.h>

#include "engine/record/clock_reading.h"
#include "engine/record/line.h"
#include "engine/record/record.h"
#include "engine/record/small_file.h"

namespace {

constexpr int kVersion = 1;  // of the lines' meaning: docs/record.md

/// The kernel's name for the time since it started; monotonic clocks can be compared within it.
std::string boot_of(const std::string& proc) {
  const SmallFile file((proc + "/sys/kernel/random/boot_id").c_str());
  const std::string_view text = file.text();
  return std::string(text.substr(0, text.find('\n')));
}

}  // namespace

void append_head(std::string& text, const RecordPlan& plan, const ClockReading& made) {
  Line(text, "vorn-record").add(kVersion);
  Line(text, "program").add(plan.program).add(plan.version);
  utsname host{};
  uname(&host);
  Line(text, "host").add(host.nodename).add(host.sysname).add(host.release).add(host.machine);
  if (const std::string boot = boot_of(plan.proc); !boot.empty()) {
    Line(text, "boot").add(boot);
  }
  Line(text, "process").add(getpid());
  for (const std::string& argument : plan.arguments) {
    Line(text, "argument").add(argument);
  }
  for (const auto& [name, value] : plan.settings) {
    Line(text, "setting").add(name).add(value);
  }
  Line(text, "threads").add(plan.threads);
  append_clocks(text, made);
}

void append_clocks(std::string& text, const ClockReading& reading) {
  Line(text, "clock").add(reading.monotonic_ns).add(reading.wall_ns).add(reading.width_ns);
}
