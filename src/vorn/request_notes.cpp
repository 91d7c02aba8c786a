#include "vorn/request_notes.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "Workload/WorkloadFactory.h"
#include "vorn/settings.h"
#include "vorn/workload_threads.h"

namespace {

constexpr double kSlotsOfAGoodWave = 10.0;

bool has(const Request& request, char letter) {
  return request.given.find(letter) != std::string::npos;
}

/// Those of `letters` that were given, as "-k, -r".
std::string given_of(const Request& request, std::string_view letters) {
  std::string text;
  for (const char letter : letters) {
    if (has(request, letter)) {
      text += text.empty() ? "-" : ", -";
      text += letter;
    }
  }
  return text;
}

void note_envelope(Notes& notes, const std::string& option, double envelope, double frequency) {
  if (envelope <= 0.0) {
    return;
  }
  const std::string asked = option + " " + number_text(envelope);
  const std::string carrier = "-f " + number_text(kSlotsOfAGoodWave * envelope) + " or more";
  if (frequency <= 0.0) {
    notes.push_back({NoteKind::envelope_without_carrier,
                     asked + " without -f: there is no waveform, the load is constant; add " +
                         carrier + ", ten slots for each wave"});
  } else if (envelope > frequency / 2.0) {
    notes.push_back(
        {NoteKind::envelope_too_fast, asked + " is above half of -f " + number_text(frequency) +
                                          ": too few slots for each wave to show it; use " +
                                          carrier + ", or a lower " + option});
  }
}

void note_waveform(Notes& notes, const Request& request) {
  note_envelope(notes, "-z", request.sinusoid, request.frequency);
  if (request.frequency > 0.0 && request.sinusoid > 0.0 && request.triangle > 0.0) {
    notes.push_back(
        {NoteKind::envelope_twice,
         "-z and -e: the sinusoid is played, the triangle is not; leave one of them out"});
  } else {
    note_envelope(notes, "-e", request.triangle, request.frequency);
  }
  if (request.frequency <= 0.0 && has(request, 'i')) {
    notes.push_back({NoteKind::inverted_nothing,
                     "-i without -f: there is no waveform, and a workload that follows one stays "
                     "off; add -f, or leave -i out"});
  }
}

std::string alternatives(const std::vector<std::string>& workloads) {
  std::string text;
  for (const std::string& name : workloads) {
    text += (text.empty() ? "-w " : ", -w ") + name;
  }
  return text;
}

void note_workloads(Notes& notes, const Request& request) {
  if (request.frequency <= 0.0) {
    return;
  }
  for (const std::string& name : request.deaf) {
    notes.push_back({NoteKind::waveform_ignored,
                     "a waveform over " + ::quoted(name) +
                         ", which ignores it: its threads are busy all the time; use one that "
                         "follows it: " +
                         alternatives(request.pausing)});
  }
}

void note_sampling(Notes& notes, const Request& request) {
  if (!has(request, 'm')) {
    if (const std::string options = given_of(request, "kro"); !options.empty()) {
      notes.push_back(
          {NoteKind::nothing_sampled, options + " without -m: nothing is sampled; add -m"});
    }
  }
}

void note_rights(Notes& notes, const Request& request) {
  if (request.privileged) {
    return;
  }
  const bool left_alone = has(request, 's') && request.rpm == 0;
  if (const std::string options = given_of(request, "sa"); !left_alone && !options.empty()) {
    notes.push_back({NoteKind::needs_superuser,
                     options +
                         " not as root: the fans stay as they are; run it with sudo, or leave "
                         "them out"});
  }
  if (has(request, 'p')) {
    notes.push_back(
        {NoteKind::needs_superuser,
         "-p not as root: the P-state stays as it is; run it with sudo, or leave it out"});
  }
}

void note_binding(Notes& notes, const Request& request) {
  if (has(request, 'b')) {
    const std::string processor = std::to_string(request.binding);
    notes.push_back({NoteKind::binding_is_a_label,
                     "-b " + processor +
                         " labels the threads in the summary and does not bind them; to bind them, "
                         "start the program with \"taskset -c " +
                         processor + "\""});
  }
}

const char* what_is_taken(char letter) {
  switch (letter) {
    case 'c':
    case 't':
      return "a whole number from 1 to 2147483647";
    case 'b':
    case 'p':
      return "a whole number from 0 up";
    case 's':
      return "a whole number";
    default:
      return "a number above 0";
  }
}

}  // namespace

Request request_of_settings() {
  Request request;
  request.given = given_options;
  request.privileged = using_privileged_operations();
  request.frequency = frequency;
  request.sinusoid = sinusoid;
  request.triangle = triangle;
  request.rpm = rpm;
  request.binding = binding;
  // More names than threads: the rest is not run.
  const std::size_t threads =
      cores != kNotGiven ? cores : static_cast<std::size_t>(std::max(ncpus(), 1));
  for (std::size_t i = 0; i < std::min(threads, workloads.size()); ++i) {
    const std::string& name = workloads[i];
    if (!factories.at(name)->follows_waveform() &&
        std::find(request.deaf.begin(), request.deaf.end(), name) == request.deaf.end()) {
      request.deaf.push_back(name);
    }
  }
  for (const auto& [name, factory] : factories) {
    if (factory->follows_waveform()) {
      request.pausing.push_back(name);
    }
  }
  return request;
}

Notes notes_on_request(const Request& request) {
  Notes notes;
  note_waveform(notes, request);
  note_workloads(notes, request);
  note_sampling(notes, request);
  note_rights(notes, request);
  note_binding(notes, request);
  return notes;
}

Note note_on_value(char letter, const std::string& long_name, const std::string& value) {
  return {NoteKind::value_not_taken, std::string("-") + letter + " (--" + long_name +
                                         ") does not take " + ::quoted(value) + "; it takes " +
                                         what_is_taken(letter)};
}

Note note_on_word(const std::string& word) {
  return {NoteKind::word_not_taken,
          ::quoted(word) + " belongs to no option; each option begins with \"-\" or \"--\""};
}
