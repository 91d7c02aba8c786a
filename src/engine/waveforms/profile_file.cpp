#include <sstream>
#include <string_view>

#include "engine/waveforms/profile.h"
#include "engine/waveforms/text_lines.h"

namespace {

// 24 MB in memory: 24 hours with eleven points a second.
constexpr std::size_t kMostPoints = 1000000;

// A year. A time stamp in place of a time since the start is an error, and not a wait.
constexpr double kLongestS = 366.0 * 24 * 3600;

Profile::Between read_kind(TextLines& lines) {
  const std::optional<std::string_view> line = lines.next();
  if (!line) {
    lines.fail_wholly("the file says nothing");
  }
  if (*line == "steps") {
    return Profile::Between::steps;
  }
  if (*line == "lines") {
    return Profile::Between::lines;
  }
  lines.fail("the first line must be \"steps\" or \"lines\", and is " + shown_text(*line));
}

std::string shown(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

Profile::Point read_point(const TextLines& lines, std::string_view line) {
  const std::vector<std::string_view> words = words_of(line);
  if (words.size() != 2) {
    lines.fail("a time and a duty belong here, and there is " + shown_text(line));
  }
  const Profile::Point point{.time_s = lines.number(words[0]), .duty = lines.number(words[1])};
  if (point.duty < 0.0 || point.duty > 1.0) {
    lines.fail("duty " + shown(point.duty) + " is not between 0 and 1");
  }
  if (point.time_s < 0.0 || point.time_s > kLongestS) {
    lines.fail("time " + shown(point.time_s) + " is not between 0 and " + shown(kLongestS) + " s");
  }
  return point;
}

}  // namespace

Profile read_profile(const std::string& path) {
  TextLines lines(path);
  const Profile::Between between = read_kind(lines);
  std::vector<Profile::Point> points;
  while (const std::optional<std::string_view> line = lines.next()) {
    const Profile::Point point = read_point(lines, *line);
    if (points.empty() && point.time_s != 0.0) {
      lines.fail("the first time must be 0, and is " + shown(point.time_s));
    }
    if (!points.empty() && point.time_s <= points.back().time_s) {
      lines.fail("time " + shown(point.time_s) + " does not come after " +
                 shown(points.back().time_s));
    }
    if (points.size() == kMostPoints) {
      lines.fail("there are more than " + std::to_string(kMostPoints) + " points");
    }
    points.push_back(point);
  }
  if (points.size() < 2) {
    lines.fail_wholly("there must be two points at least: the last one says when the profile ends");
  }
  return {between, points};
}
