#include "machines/linux/checkup/work.h"

#include <algorithm>
#include <iterator>

#include "machines/linux/fans/assignment.h"
#include "machines/linux/fans/calibration.h"
#include "machines/linux/fans/curve_file.h"
#include "machines/linux/giving_back/left_behind.h"
#include "machines/linux/giving_back/state_file.h"
#include "machines/linux/sysfs/printable.h"

namespace linux_machine {
namespace {

using inspection::Console;

std::string printable_lines(const std::string& text) {
  std::string shown;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
    end = text.find('\n', begin);
    shown += sysfs::printable(text.substr(begin, end - begin));
    shown += end == std::string::npos ? "" : "\n";
  }
  return shown;
}

/// The console for texts that repeat what the firmware says. Outlived by `console`.
Console made_printable(const Console& console) {
  Console shown;
  shown.progress = [&console](double fraction, const std::string& what) {
    console.progress(fraction, sysfs::printable(what));
  };
  shown.print = [&console](const std::string& text) { console.print(printable_lines(text)); };
  shown.complain = [&console](const std::string& text) {
    console.complain(sysfs::printable(text));
  };
  return shown;
}

bool measure_and_keep(Machine& machine, const Surroundings& surroundings, const FanChannel& fan,
                      const Console& console) {
  const std::string what = fan.chip + " fan" + std::to_string(fan.channel);
  const sysfs::Result<std::optional<Curve>> curve =
      measure_curve(surroundings, machine.fan_ledger(), fan, machine.temperatures(),
                    [&](double fraction, const std::string& text) {
                      console.progress(fraction, what + ": " + text);
                    });
  if (!curve) {
    console.complain(what + ": " + curve.failure().message);
    return false;
  }
  const std::string text = *curve ? curve_text(fan, **curve) : still_text(fan);
  console.print(text);
  if (!*curve) {
    console.print("# it does not turn at full speed: perhaps nothing is connected there");
  }
  const auto saved = save_curve(surroundings.curves_folder, fan, text);
  if (!saved) {
    console.complain(saved.failure().message);
    return false;
  }
  console.print("# kept in " + curve_path(surroundings.curves_folder, fan));
  return true;
}

bool give_back_part(const Surroundings& surroundings, const std::string& part,
                    const Console& console) {
  const sysfs::Result<StateFile> state = StateFile::lock_or_take_over(surroundings, part);
  if (!state) {
    console.complain(state.failure().message);
    return false;
  }
  if (!give_back_left_behind(surroundings, *state)) {
    console.complain(part + ": could not all be given back; " + state->path() +
                     " keeps what is left to do");
    return false;
  }
  if (const auto removed = state->remove_if_taken_over(); !removed) {
    console.complain(removed.failure().message);
    return false;
  }
  console.print(part + ": given back");
  return true;
}

}  // namespace

bool calibrate(Machine& machine, const Surroundings& surroundings, const Console& raw_console) {
  const Console console = made_printable(raw_console);
  bool all = true;
  bool any = false;
  for (const FanChannel& fan : machine.fans().channels()) {
    if (!fan.measurable) {
      console.print("# " + fan.chip + " fan" + std::to_string(fan.channel) +
                    " cannot be forced: " + fan.refusal);
      continue;
    }
    any = true;
    all = measure_and_keep(machine, surroundings, fan, console) && all;
  }
  machine.fan_ledger().end();
  if (!any) {
    console.print("# no fan of this machine can be forced: nothing to measure");
  }
  return all;
}

bool assign_fan(Machine& machine, const Surroundings& surroundings, const std::string& wish,
                const Console& console) {
  const std::optional<AssignmentWish> asked = parse_wish(wish);
  if (!asked) {
    console.complain(wish + ": this is no number and fan, as F0=devices/platform/nct6775.656/fan2");
    return false;
  }
  if (surroundings.effective_user() != 0) {
    console.complain("giving a fan its number needs root: sudo vorn-keys --assign " + wish);
    return false;
  }
  std::vector<FanChannel> meant;
  const auto channels = machine.fans().channels();
  std::copy_if(channels.begin(), channels.end(), std::back_inserter(meant),
               [&](const FanChannel& fan) {
                 return fan.channel == asked->channel &&
                        (fan.device == asked->device || fan.folder == asked->device ||
                         fan.chip == asked->device);
               });
  const bool takes_away = asked->device.empty();
  if (!takes_away && (meant.size() != 1 || asked->number >= channels.size())) {
    console.complain(wish + (meant.empty()      ? ": this machine has no such fan"
                             : meant.size() > 1 ? ": this machine has several such fans: name the "
                                                  "device by its path"
                                                : ": this machine has fewer fans"));
    console.complain("vorn-keys lists the fans, with their devices");
    return false;
  }
  std::string wrong;  // a file that cannot be used is replaced
  std::vector<Assignment> all = load_assigned(surroundings.curves_folder, wrong);
  std::erase_if(all, [&](const Assignment& one) {
    return one.number == asked->number ||
           (!takes_away && one.device == meant[0].device && one.channel == meant[0].channel);
  });
  if (!takes_away) {
    all.push_back(
        {.number = asked->number, .device = meant[0].device, .channel = meant[0].channel});
  }
  if (const auto saved = save_assigned(surroundings.curves_folder, all); !saved) {
    console.complain(saved.failure().message);
    return false;
  }
  console.print("# kept in " + assignment_path(surroundings.curves_folder) +
                "; vorn-keys lists it");
  return true;
}

bool give_back_parts(const Surroundings& surroundings, const Console& console) {
  if (surroundings.effective_user() != 0) {
    console.complain("giving back needs root: sudo vorn-keys --restore");
    return false;
  }
  bool all = true;
  const std::vector<std::string> parts = parts_with_state(surroundings);
  for (const std::string& part : parts) {
    all = give_back_part(surroundings, part, console) && all;
  }
  if (parts.empty()) {
    console.print("nothing was left changed");
  }
  return all;
}

}  // namespace linux_machine
