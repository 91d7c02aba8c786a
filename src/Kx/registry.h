#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Kx/driver.h"

namespace kx {

/// One entry of the registry: a service, or (driver null, no classes) only a place in the tree.
/// Immutable once built, so threads share it without a lock.
struct Entry {
  std::shared_ptr<Driver> driver;
  std::vector<std::string> classes;  ///< own class first; asked of the driver once
};

/// Whether the entry's class is, or derives from, `class_name`.
bool conforms_to(const Entry& entry, std::string_view class_name);

using Entries = std::vector<std::shared_ptr<const Entry>>;

/// The tree as its walks need it.
struct Registry {
  Entries top;          ///< the root's children
  Entries depth_first;  ///< every entry below the root, each before its own children
};

Registry build_registry(std::vector<Node> machine);

}  // namespace kx
