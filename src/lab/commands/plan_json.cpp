#include "lab/commands/plan_json.h"

#include <toml++/toml.h>

#include <nlohmann/json.hpp>

#include "lab/plan/plan_file.h"

namespace lab {

namespace {

using Json = nlohmann::ordered_json;

Json json_of(const toml::node& node) {
  if (const toml::table* table = node.as_table()) {
    Json json = Json::object();
    for (const auto& [name, member] : *table) {
      json[std::string(name.str())] = json_of(member);
    }
    return json;
  }
  if (const toml::array* list = node.as_array()) {
    Json json = Json::array();
    for (const toml::node& member : *list) {
      json.push_back(json_of(member));
    }
    return json;
  }
  if (const auto text = node.value_exact<std::string>()) {
    return *text;
  }
  if (const auto whole = node.value_exact<std::int64_t>()) {
    return *whole;
  }
  if (const auto number = node.value_exact<double>()) {
    return *number;
  }
  const auto flag = node.value_exact<bool>();
  return flag ? Json(*flag) : Json(nullptr);
}

}  // namespace

std::string plan_json(const Plan& plan) {
  return json_of(toml::parse(plan_text(plan))).dump(2, ' ', false, Json::error_handler_t::replace) +
         "\n";
}

}  // namespace lab
