#include "support/fake_inspection.h"

fake_inspection::State& fake_inspection::state() {
  static State the_state;
  return the_state;
}

void fake_inspection::reset() {
  state() = {};
}

std::vector<inspection::Key> inspection::keys() {
  return fake_inspection::state().keys;
}

std::size_t inspection::pstates() {
  return {};
}

std::vector<inspection::Finding> inspection::check() {
  return fake_inspection::state().findings;
}

bool inspection::calibrate(const Console& /*console*/) {
  return fake_inspection::state().well;
}

bool inspection::assign(const std::string& /*wish*/, const Console& /*console*/) {
  return fake_inspection::state().well;
}

bool inspection::restore(const Console& /*console*/) {
  return fake_inspection::state().well;
}

std::optional<std::string> inspection::record(const Console& /*console*/) {
  ++fake_inspection::state().records;
  return fake_inspection::state().recorded;
}

std::string inspection::use_record(const std::string& text) {
  fake_inspection::state().used_record = text;
  return fake_inspection::state().wrong_with_record;
}
