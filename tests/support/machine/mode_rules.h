#pragma once

#include <cerrno>
#include <string>

#include "machines/linux/sysfs/attribute.h"
#include "support/machine/memory_tree.h"

/// Lets modes rule over what a chip's pwm allows, as the machine's text begins it: a pwm that fails
/// with ENODATA is shown and taken in manual mode alone, and one that is read-only can be opened
/// for writing in manual mode alone.
inline void let_modes_rule(MemoryTree& tree) {
  constexpr std::string_view kEnd = "_enable";
  for (const auto& [path, text] : tree.snapshot()) {
    if (path.find("/pwm") == std::string::npos || !path.ends_with(kEnd)) {
      continue;
    }
    const std::string pwm = path.substr(0, path.size() - kEnd.size());
    const auto shown = sysfs::read_text(tree, pwm);
    const bool hidden = !shown && shown.failure().error == ENODATA;
    if (hidden) {
      const auto manual = [&tree, mode = path] { return tree.text(mode) == "1"; };
      tree.fail(pwm, 0);
      tree.on_read(pwm, [manual](const std::string& stored) {
        return manual() ? MemoryTree::Answer{stored, 0} : MemoryTree::Answer{"", -ENODATA};
      });
      tree.on_write(pwm, [manual](std::string&) { return manual() ? 0 : -EINVAL; });
    } else if (shown && !sysfs::Attribute::open(tree, pwm, sysfs::Mode::write)) {
      tree.on_write(path, [&tree, pwm](std::string& mode) {
        tree.put(pwm, tree.text(pwm), mode == "1" ? 0644 : 0444);
        return 0;
      });
    }
  }
}
