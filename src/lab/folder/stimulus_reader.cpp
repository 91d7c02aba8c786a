#include "lab/folder/stimulus_reader.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace lab {

namespace {

int number(const RecordLine& line, std::size_t index) {
  return static_cast<int>(line.whole(index).value_or(-1));
}

double decimal_number(std::string_view field) {
  double value = 0;
  std::from_chars(field.data(), field.data() + field.size(), value);
  return value;
}

/// Buffers of the record are emptied one after the other, so its lines are not in the order of
/// time.
template <class Event>
void sort(std::vector<Event>& events) {
  std::stable_sort(events.begin(), events.end(), [](const Event& one, const Event& other) {
    return one.instant_ns < other.instant_ns;
  });
}

}  // namespace

template <class Event>
void StimulusReader::keep(std::vector<Event>& events, Event event) {
  if (events.size() < most_) {
    events.push_back(std::move(event));
  } else {
    found_.cut = true;
  }
}

void StimulusReader::add(const RecordLine& line) {
  const std::string_view keyword = line.keyword();
  const std::int64_t instant = line.whole(0).value_or(0);
  if (keyword == "edge") {
    keep(found_.edges, {.planned_ns = instant, .on = line.field(2) == "on"});
  } else if (keyword == "entered" || keyword == "left") {
    keep(found_.follows,
         {.instant_ns = instant, .thread = number(line, 1), .on = keyword == "entered"});
  } else if (keyword == "time") {
    keep(found_.times,
         {.instant_ns = instant, .thread = number(line, 1), .time_ns = line.whole(2).value_or(0)});
  } else if (keyword == "sample") {
    keep(found_.samples, {.instant_ns = instant, .elapsed_s = decimal_number(line.field(1))});
  } else if (keyword == "thread") {
    keep(found_.threads, {.number = number(line, 0),
                          .task = line.whole(1).value_or(0),
                          .policy = line.text(4),
                          .priority = number(line, 5)});
  } else if (keyword == "asked") {
    keep(found_.asked_ns, instant);
  }
}

Stimulus StimulusReader::stimulus() const {
  Stimulus all = found_;
  sort(all.follows);
  sort(all.times);
  return all;
}

}  // namespace lab
