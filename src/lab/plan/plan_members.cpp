#include "lab/plan/plan_members.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "lab/plan/duration.h"
#include "lab/plan/plan_error.h"

namespace lab {

void PlanMembers::refuse(const toml::source_region& where, const std::string& why) const {
  std::ostringstream text;
  text << file_ << ':' << where.begin.line << ':' << where.begin.column << ": " << why;
  throw PlanError(text.str());
}

double PlanMembers::number(const char* name, double otherwise, double least, double most) {
  const toml::node* node = take(name);
  if (node == nullptr) {
    return otherwise;
  }
  const std::optional<double> value = node->value<double>();
  if (!value || !(*value >= least && *value <= most)) {
    std::ostringstream why;
    why << name << " is to be a number from " << least << " to " << most;
    refuse(node->source(), why.str());
  }
  return *value;
}

int PlanMembers::whole_number(const char* name, int otherwise, int least, int most) {
  const double value = number(name, otherwise, least, most);
  if (value != std::floor(value)) {
    refuse(table_.get(name)->source(), std::string(name) + " is to be a whole number");
  }
  return static_cast<int>(value);
}

bool PlanMembers::flag(const char* name, bool otherwise) {
  const toml::node* node = take(name);
  if (node == nullptr) {
    return otherwise;
  }
  const std::optional<bool> value = node->value_exact<bool>();
  if (!value) {
    refuse(node->source(), std::string(name) + " is to be true or false");
  }
  return *value;
}

std::string PlanMembers::text(const char* name, const std::string& otherwise) {
  const toml::node* node = take(name);
  if (node == nullptr) {
    return otherwise;
  }
  return text_of(*node, name);
}

std::vector<std::string> PlanMembers::texts(const char* name) {
  std::vector<std::string> found;
  const toml::node* node = take(name);
  if (node == nullptr) {
    return found;
  }
  if (!node->is_array()) {
    refuse(node->source(), std::string(name) + " is to be a list of texts");
  }
  for (const toml::node& item : *node->as_array()) {
    found.push_back(text_of(item, name));
  }
  return found;
}

std::optional<Fans> PlanMembers::fans(int least) {
  const toml::node* node = take("fans");
  if (node == nullptr) {
    return std::nullopt;
  }
  const auto word = node->value<std::string>();
  const int rpm = node->is_integer() ? node->value_or(-1) : -1;
  if (word == "automatic") {
    return Fans{Fans::Hold::automatic, 0};
  }
  if (word == "maximum") {
    return Fans{Fans::Hold::maximum, 0};
  }
  if (rpm >= least && rpm <= 100000) {
    return Fans{Fans::Hold::speed, rpm};
  }
  refuse(node->source(), "fans is to be \"automatic\", \"maximum\", or a speed in RPM");
}

std::optional<int> PlanMembers::pstate() {
  const toml::node* node = table_.get("pstate");
  if (node != nullptr && node->value<std::string>() == "automatic") {
    return kAutomaticPState;
  }
  const int number = whole_number("pstate", -1, 0, kLastPState);
  return node == nullptr ? std::nullopt : std::optional<int>(number);
}

std::optional<double> PlanMembers::duration(const char* name) {
  constexpr double kYear_s = 365.0 * 86400;
  const toml::node* node = take(name);
  if (node == nullptr) {
    return std::nullopt;
  }
  std::optional<double> seconds = node->value<double>();
  if (const auto word = node->value<std::string>()) {
    seconds = parse_duration(*word);
  }
  if (!seconds || !(*seconds > 0) || *seconds > kYear_s) {
    refuse(node->source(),
           std::string(name) + " is to be a time, such as 90, \"90s\" or \"2m\"" +
               (std::string_view(name) == "duration" ? ", or \"until settled\"" : ""));
  }
  return seconds;
}

std::vector<std::vector<double>> PlanMembers::rows(const toml::node& node, std::size_t count,
                                                   const char* form) const {
  const auto refuse_at = [&](const toml::node& where) { refuse(where.source(), form); };
  std::vector<std::vector<double>> found;
  if (!node.is_array()) {
    refuse_at(node);
  }
  for (const toml::node& row : *node.as_array()) {
    if (!row.is_array() || row.as_array()->size() != count) {
      refuse_at(row);
    }
    found.emplace_back();
    for (const toml::node& cell : *row.as_array()) {
      const auto number = cell.value<double>();
      if (!number || !std::isfinite(*number)) {
        refuse_at(cell);
      }
      found.back().push_back(*number);
    }
  }
  if (found.empty()) {
    refuse_at(node);
  }
  return found;
}

void PlanMembers::only(std::initializer_list<const char*> known) const {
  for (const auto& [key, node] : table_) {
    if (std::find(known.begin(), known.end(), key.str()) == known.end()) {
      std::string words;
      for (const char* word : known) {
        words += (words.empty() ? "" : ", ") + std::string(word);
      }
      refuse(key.source(),
             "unknown word \"" + std::string(key.str()) + "\" in " + what_ + ": it knows " + words);
    }
  }
}

std::string PlanMembers::text_of(const toml::node& node, const char* name) const {
  const auto value = node.value<std::string>();
  if (!value) {
    refuse(node.source(), std::string(name) + " is to be a text in quotes");
  }
  return *value;
}

}  // namespace lab
