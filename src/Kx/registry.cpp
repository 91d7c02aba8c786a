#include "Kx/registry.h"

#include <algorithm>
#include <utility>

namespace kx {

namespace {

std::shared_ptr<const Entry> make_entry(Node& node) {
  Entry entry{.driver = std::move(node.driver), .classes = {}};
  if (entry.driver) {
    entry.classes = entry.driver->classes();
  }
  return std::make_shared<const Entry>(std::move(entry));
}

void append_below(Node& node, Entries& entries) {
  for (Node& child : node.children) {
    entries.push_back(make_entry(child));
    append_below(child, entries);
  }
}

}  // namespace

bool conforms_to(const Entry& entry, std::string_view class_name) {
  return std::find(entry.classes.begin(), entry.classes.end(), class_name) != entry.classes.end();
}

Registry build_registry(std::vector<Node> machine) {
  Registry registry;
  for (Node& node : machine) {
    registry.top.push_back(make_entry(node));
    registry.depth_first.push_back(registry.top.back());
    append_below(node, registry.depth_first);
  }
  return registry;
}

}  // namespace kx
