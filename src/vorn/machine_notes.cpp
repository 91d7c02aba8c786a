#include "vorn/machine_notes.h"

#include <cstdint>
#include <optional>

#include "PlatformPlugin/PlatformPlugin.h"
#include "SMC/SMC.h"

namespace {

constexpr std::uint32_t kUsableSize = 2;  // bytes

std::optional<smc_code> code_of(const std::string& name) {
  try {
    return SMC::key(name);
  } catch (const SMCException&) {
    return std::nullopt;
  }
}

bool is_fan(const SMC& controller, const std::string& name) {
  try {
    return controller.fan_mask(name) != 0;
  } catch (const SMCException&) {
    return false;
  }
}

/// Throws what the controller's answer throws.
KeyState state_of(SMC& controller, const std::string& name, KeyUse use) {
  const std::optional<smc_code> code = code_of(name);
  if (!code) {
    return KeyState::malformed;
  }
  const std::uint32_t size = controller.get_key_size(*code);
  if (size == 0 || (use == KeyUse::fans && !is_fan(controller, name))) {
    return KeyState::unknown;
  }
  if (size != kUsableSize) {
    return KeyState::other_size;
  }
  if (use == KeyUse::sampling) {
    const smc_code type = controller.get_key_infodata(*code).dataType;
    if (!SMC::is_fixed_point(type) && !SMC::is_signed_point(type)) {
      return KeyState::other_type;
    }
  }
  return KeyState::usable;
}

std::string simulated_program() {
  return program_beside("vorn-sim");
}

Note no_controller(const std::string& instead) {
  return {NoteKind::no_controller,
          "this machine shows no controller, that is no sensor and no fan; " + keys_program() +
              " --check says what there is; " + instead};
}

}  // namespace

std::string keys_program() {
  return program_beside(program_name().ends_with("-sim") ? "vorn-keys-sim" : "vorn-keys");
}

MachineFacts ask_machine(const std::list<std::string>& keys, KeyUse use) {
  MachineFacts facts;
  facts.controller = SMC::exists();
  facts.power_plugin = PlatformPlugin::exists();
  if (!facts.controller) {
    return facts;
  }
  try {
    SMC controller;
    for (const std::string& name : keys) {
      facts.keys.push_back({name, state_of(controller, name, use)});
    }
  } catch (const SMCException&) {  // the failure that made somebody ask has been printed
  }
  return facts;
}

Notes notes_on_sampling(const MachineFacts& machine) {
  if (!machine.controller) {
    return {no_controller("leave -m out, or use " + simulated_program() +
                          ", which has a simulated one")};
  }
  Notes notes;
  for (const AskedKey& key : machine.keys) {
    if (key.state == KeyState::malformed) {
      notes.push_back({NoteKind::key_unknown, ::quoted(key.name) +
                                                  " is no key: a key has four characters; " +
                                                  keys_program() + " lists them"});
    } else if (key.state == KeyState::unknown) {
      notes.push_back({NoteKind::key_unknown, "this machine has no key " + ::quoted(key.name) +
                                                  "; " + keys_program() +
                                                  " lists those that it has"});
    } else if (key.state == KeyState::other_size) {
      notes.push_back({NoteKind::key_not_sampled,
                       ::quoted(key.name) + " cannot be sampled: it has not two bytes; " +
                           keys_program() + " lists the keys with their sizes"});
    } else if (key.state == KeyState::other_type) {
      notes.push_back(
          {NoteKind::key_not_sampled, ::quoted(key.name) +
                                          " cannot be sampled: it is no number with a fixed "
                                          "point (fp.. or sp..); " +
                                          keys_program() + " lists the keys with their types"});
    }
  }
  return notes;
}

Note note_on_refused_reading() {
  return {NoteKind::reading_refused,
          "no more samples: this user may not read one of the keys; give the right to the program "
          "(sudo setcap cap_sys_nice,cap_dac_read_search+ep " +
              program_file() + "); " + keys_program() + " --check names the key"};
}

Notes notes_on_fans(const MachineFacts& machine) {
  if (!machine.controller) {
    return {no_controller("leave the fans alone with -s 0, run it not as root, or use " +
                          simulated_program())};
  }
  Notes notes;
  for (const AskedKey& fan : machine.keys) {
    if (fan.state != KeyState::usable) {
      notes.push_back({NoteKind::key_unknown,
                       "this machine has no fan " + ::quoted(fan.name) + "; " + keys_program() +
                           " lists its fans (F0Tg, ...); name them with -a, or leave all alone "
                           "with -s 0"});
    }
  }
  return notes;
}

Notes notes_on_pstate(const MachineFacts& machine) {
  if (machine.power_plugin) {
    return {};
  }
  return {
      {NoteKind::no_power_plugin,
       "this machine shows no power plugin, that is no P-states; " + keys_program() +
           " --check says what there is; root always forces one, so run it not as root, or use " +
           simulated_program()}};
}

Notes notes_on_failed_setup(PrivilegedSetting failed, const MachineFacts& machine) {
  return failed == PrivilegedSetting::fans ? notes_on_fans(machine) : notes_on_pstate(machine);
}
