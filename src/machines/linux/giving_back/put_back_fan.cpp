#include "machines/linux/giving_back/put_back_fan.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>

#include "machines/linux/giving_back/direct_attribute.h"
#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/surroundings/surroundings.h"

// A chip takes a pwm value only while the channel is manual: in an automatic mode the write is
// refused, or accepted and ignored. So the channel is made manual first (its own target regulation
// is one of the automatic modes), gets its values, and its mode last. What the chip makes of its
// pwm in an automatic mode is its own affair and is not compared.

namespace linux_machine {
namespace {

constexpr std::string_view kFullSpeedMode = "0";  // of most chips, where manual cannot be had
constexpr std::string_view kManual = "1";         // the one mode that all chips agree on
constexpr std::string_view kAutomatic = "2";      // what firmware calls it where it is write-only
constexpr std::string_view kFullPwm = "255";
constexpr long long kNearlyFull = 190;  // chips round: from here on the fan is not in danger
constexpr int kTries = 4;
constexpr std::int64_t kBetweenTriesNs = 10 * kNsPerMs;

/// The paths of one channel, without allocating.
struct Paths {
  Paths(std::string_view folder, std::string_view channel) {
    name.add(folder).add("/name");
    pwm.add(folder).add("/pwm").add(channel);
    enable.add(pwm.view()).add("_enable");
    target.add(folder).add("/fan").add(channel).add("_target");
  }
  LineText name;
  LineText pwm;
  LineText enable;
  LineText target;
};

bool reads(sysfs::Tree& tree, const LineText& path, std::string_view wanted) {
  DirectBuffer buffer;
  const DirectAnswer answer = read_directly(tree, path.c_str(), buffer);
  return answer.error == 0 && answer.text == wanted;
}

/// A chip whose mode 0 is full speed may show manual at full pwm as 0, and the other way round.
bool same_mode(std::string_view shown, const FanLine& fan) {
  const auto full_or_manual = [](std::string_view mode) {
    return mode == kFullSpeedMode || mode == kManual;
  };
  return shown == fan.enable || (fan.zero == kZeroIsFull && fan.pwm == kFullPwm &&
                                 full_or_manual(shown) && full_or_manual(fan.enable));
}

bool mode_is_right(sysfs::Tree& tree, const Paths& paths, const FanLine& fan) {
  if (fan.enable == kNotThere || fan.enable == kUnreadable) {
    return true;
  }
  DirectBuffer buffer;
  const DirectAnswer answer = read_directly(tree, paths.enable.c_str(), buffer);
  return answer.error == 0 && same_mode(answer.text, fan);
}

bool held_by_hand(const FanLine& fan) {
  return fan.enable == kNotThere || fan.enable == kManual;
}

/// One try. Returns 0, or the errno of what went wrong; EPROTO: it reads back differently.
int put_back(sysfs::Tree& tree, const Paths& paths, const FanLine& fan) {
  int error = 0;
  const auto write = [&](const LineText& path, std::string_view value) {
    const int refused = write_directly(tree, path.c_str(), value);
    error = error == 0 ? refused : error;
  };
  const bool has_mode = fan.enable != kNotThere;
  if (has_mode && !reads(tree, paths.enable, kManual)) {
    write_directly(tree, paths.enable.c_str(), kManual);  // what follows tells whether it worked
  }
  if (fan.target != kNotThere) {
    write(paths.target, fan.target);
  }
  if (fan.pwm != kNotThere) {
    write(paths.pwm, fan.pwm);
  }
  if (has_mode && fan.enable != kManual) {
    write(paths.enable, fan.enable == kUnreadable ? kAutomatic : fan.enable);
  }
  if (error != 0) {
    return error;
  }
  const bool pwm_is_right =
      fan.pwm == kNotThere || !held_by_hand(fan) || reads(tree, paths.pwm, fan.pwm);
  return mode_is_right(tree, paths, fan) && pwm_is_right ? 0 : EPROTO;
}

bool put_at_full_speed(sysfs::Tree& tree, const Paths& paths, const FanLine& fan) {
  const auto is_full = [&] {
    DirectBuffer buffer;
    const DirectAnswer answer = read_directly(tree, paths.pwm.c_str(), buffer);
    long long pwm = 0;
    std::from_chars(answer.text.data(), answer.text.data() + answer.text.size(), pwm);
    return answer.error == 0 && pwm >= kNearlyFull;
  };
  for (int tries = 0; tries < kTries; ++tries) {
    if (fan.enable != kNotThere) {
      write_directly(tree, paths.enable.c_str(), kManual);
    }
    write_directly(tree, paths.pwm.c_str(), kFullPwm);
    if (is_full()) {
      return true;
    }
  }
  return fan.enable != kNotThere && fan.zero == kZeroIsFull &&
         write_directly(tree, paths.enable.c_str(), kFullSpeedMode) == 0 &&
         reads(tree, paths.enable, kFullSpeedMode);
}

enum class Whose {
  ours,
  back,    ///< its mode is as it was, and not one that it is forced in
  theirs,  ///< somebody has put it into another mode since
};

/// By its mode, if that can be read: what a chip shows as its pwm is not always what it was told.
Whose whose_mode(sysfs::Tree& tree, const Paths& paths, const FanLine& fan) {
  DirectBuffer buffer;
  const DirectAnswer answer = read_directly(tree, paths.enable.c_str(), buffer);
  if (fan.forced.empty() || fan.enable == kNotThere || fan.enable == kUnreadable ||
      answer.error != 0) {
    return Whose::ours;
  }
  for (std::string_view modes = fan.forced; !modes.empty();) {
    const std::string_view mode = modes.substr(0, modes.find(','));
    modes.remove_prefix(std::min(mode.size() + 1, modes.size()));
    const bool full_shown_as_zero =
        fan.zero == kZeroIsFull && mode == kManual && answer.text == kFullSpeedMode;
    if (answer.text == mode || full_shown_as_zero) {
      return Whose::ours;
    }
  }
  return same_mode(answer.text, fan) ? Whose::back : Whose::theirs;
}

enum class Chip { this_one, another, unknown };

/// Whose channel `paths` is. A name that cannot be read now does not keep a fan from being put
/// back.
Chip chip_at(sysfs::Tree& tree, const Paths& paths, const FanLine& fan) {
  DirectBuffer buffer;
  const DirectAnswer answer = read_directly(tree, paths.name.c_str(), buffer);
  if (is_gone(answer.error)) {
    return Chip::another;
  }
  return answer.error != 0 || answer.text == fan.chip
             ? (answer.error == 0 ? Chip::this_one : Chip::unknown)
             : Chip::another;
}

/// A driver that was loaded anew has the same device with another number: ".../hwmon/hwmon5" in
/// place of ".../hwmon/hwmon3". Sets `paths` to it; false if there is none.
bool find_renumbered(sysfs::Tree& tree, const FanLine& fan, Paths& paths) {
  constexpr std::string_view kDevices = "/hwmon/hwmon";
  constexpr int kNumbers = 100;
  const std::size_t at = fan.folder.rfind(kDevices);
  if (at == std::string_view::npos) {
    return false;
  }
  for (int number = 0; number < kNumbers; ++number) {
    std::array<char, 4> digits;
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    LineText folder;
    folder.add(fan.folder.substr(0, at + kDevices.size()));
    folder.add({digits.data(), static_cast<std::size_t>(end - digits.data())});
    paths = Paths(folder.view(), fan.channel);
    if (chip_at(tree, paths, fan) == Chip::this_one) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool put_back_fan(sysfs::Tree& tree, const FanLine& fan, const PutBackTools& tools, Extent what) {
  Paths paths(fan.folder, fan.channel);
  if (chip_at(tree, paths, fan) == Chip::another && !find_renumbered(tree, fan, paths)) {
    tools.report(LineText().add(fan.folder).add(" has gone, or is no ").add(fan.chip).view());
    return true;
  }
  const Whose whose = what == Extent::everything ? Whose::ours : whose_mode(tree, paths, fan);
  if (whose == Whose::theirs) {
    tools.report(LineText().add(paths.enable.view()).add(" was set since: left as it is").view());
  }
  if (whose != Whose::ours) {
    return true;
  }
  int error = 0;
  for (int tries = 0; tries < kTries; ++tries) {
    error = put_back(tree, paths, fan);
    if (error == 0) {
      return true;
    }
    tools.sleep_for(kBetweenTriesNs);
  }
  LineText text;
  text.add(fan.enable == kNotThere ? paths.pwm.view() : paths.enable.view());
  text.add(" could not be put back (pwm ").add(fan.pwm).add(", mode ").add(fan.enable).add("): ");
  if (error == EPROTO) {
    text.add("it reads differently");
  } else {
    text.add_error(error);
  }
  text.add(put_at_full_speed(tree, paths, fan) ? "; the fan is at full speed instead"
                                               : "; neither could the fan be put at full speed");
  tools.report(text.view());
  return false;
}

}  // namespace linux_machine
