#include "lab/plan/plan_drive.h"

#include <toml++/toml.h>

namespace lab {

namespace {

constexpr double kLeastHz = 1e-6;
constexpr double kMostHz = 1000;

Drive parse_sines(PlanMembers& members) {
  Drive drive{.shape = Drive::Shape::sines};
  const toml::node& node = *members.take("sines");
  constexpr const char* kForm =
      "sines is to be a list of [Hz, amplitude from 0 to 0.5, degrees], at most 16 of them";
  for (const std::vector<double>& row : members.rows(node, 3, kForm)) {
    if (!(row[0] >= kLeastHz && row[0] <= kMostHz) || !(row[1] >= 0 && row[1] <= 0.5)) {
      members.refuse(node.source(), kForm);
    }
    drive.sines.push_back({.frequency_hz = row[0], .amplitude = row[1], .degrees = row[2]});
  }
  if (drive.sines.size() > kMostSines) {
    members.refuse(node.source(), kForm);
  }
  drive.duty = members.number("mean", 0.5, 0, 1);
  return drive;
}

/// A list of instants and duties.
Drive parse_profile(PlanMembers& members) {
  const toml::node& node = *members.take("profile");
  const auto refuse = [&](const toml::node& where) {
    members.refuse(
        where.source(),
        "profile is to be a list of [s, duty], from 0 s on, such as [[0, 0.3], [60, 0]]");
  };
  Drive drive;
  drive.shape = Drive::Shape::profile;
  if (!node.is_array()) {
    refuse(node);
  }
  for (const toml::node& row : *node.as_array()) {
    const toml::array* cells = row.as_array();
    if (cells == nullptr || cells->size() != 2) {
      refuse(row);
    }
    const auto time = (*cells)[0].value<double>();
    const auto duty = (*cells)[1].value<double>();
    const double before = drive.profile.empty() ? -1 : drive.profile.back().time_s;
    const bool begins = !drive.profile.empty() || time == 0.0;
    if (!time || !duty || !begins || !(*time > before) || !(*duty >= 0 && *duty <= 1)) {
      refuse(row);
    }
    drive.profile.push_back({.time_s = *time, .duty = *duty});
  }
  if (drive.profile.size() < 2) {
    refuse(node);
  }
  return drive;
}

}  // namespace

Drive parse_drive(PlanMembers& members) {
  Drive drive;
  if (members.has("profile")) {
    for (const char* other : {"duty", "sinusoid", "triangle", "offset", "depth", "duration"}) {
      if (members.has(other)) {
        members.refuse(std::string(other) + " and profile exclude each other");
      }
    }
    return parse_profile(members);
  }
  if (members.has("sines")) {
    for (const char* other : {"duty", "sinusoid", "triangle", "offset", "depth"}) {
      if (members.has(other)) {
        members.refuse(std::string(other) + " and sines exclude each other");
      }
    }
    return parse_sines(members);
  }
  const bool sinusoid = members.has("sinusoid");
  const bool triangle = members.has("triangle");
  if ((sinusoid ? 1 : 0) + (triangle ? 1 : 0) + (members.has("duty") ? 1 : 0) != 1) {
    members.refuse("a phase has one of duty, sinusoid, triangle, profile and sines");
  }
  drive.duty = members.number("duty", 0, 0, 1);
  const double sinusoid_hz = members.number("sinusoid", 0, kLeastHz, kMostHz);
  const double triangle_hz = members.number("triangle", 0, kLeastHz, kMostHz);
  const double offset = members.number("offset", 0, 0, 1);
  const double depth = members.number("depth", 1 - offset, 0, 1);
  if (sinusoid || triangle) {
    drive.shape = sinusoid ? Drive::Shape::sinusoid : Drive::Shape::triangle;
    drive.frequency_hz = sinusoid_hz + triangle_hz;
    drive.duty = offset;
    drive.depth = depth;
    if (offset + depth > 1 + 1e-9) {
      members.refuse("offset and depth of a phase are at most 1 together");
    }
  } else if (members.has("offset") || members.has("depth")) {
    members.refuse("offset and depth belong to a sinusoid or a triangle");
  }
  return drive;
}

}  // namespace lab
