#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What a user should be told beside the program's own texts: that a run is not what its options
/// suggest, or that something was lost, with the cause and the remedy. What there is to say is
/// decided by functions of values (request_notes, thread_notes, machine_notes, sampling_notes), so
/// that a stricter program can make errors of the same findings.

/// What a note is about.
enum class NoteKind {
  value_not_taken,           ///< an option's value
  word_not_taken,            ///< a word that is no option
  envelope_without_carrier,  ///< a sinusoid or triangle, and no frequency that it shapes
  envelope_too_fast,         ///< above half of the frequency that it shapes
  envelope_twice,            ///< a sinusoid and a triangle
  inverted_nothing,          ///< inverted, and no waveform
  waveform_ignored,          ///< by a workload that never pauses
  nothing_sampled,           ///< options of the sampling, and no sampling
  needs_superuser,           ///< fans or P-state
  binding_is_a_label,        ///< and binds nothing
  priority_refused,          ///< for want of rights
  thread_refused,            ///< the kernel starts no more threads
  no_controller,             ///< on this machine
  no_power_plugin,           ///< on this machine
  key_unknown,               ///< to this machine, or no key's name
  reading_refused,           ///< a key that this user may not read
  key_not_sampled,           ///< there, but not two bytes wide
  file_not_opened,           ///< the sample file
  file_not_written,          ///< the sample file, for the first time
  lines_lost,                ///< of the sample file, in all
  samples_late,              ///< or left out, in all
};

struct Note {
  NoteKind kind;
  std::string text;  ///< cause, then remedy; one line, without the program's name and newline
};

using Notes = std::vector<Note>;

/// Prints the notes on standard error, each with the program's name in front and in one write, so
/// that it stays whole among what other threads print. A reader that has stopped reading is given
/// a tenth of a second for each; the note is then left out. Thread: any.
void say(const Notes& notes);

/// The last part of the name that the program was called by.
std::string_view program_name();

/// How a shell names this program's file: the name that it was called by if that is a path, else
/// where the shell finds it.
std::string program_file();

/// How a shell names another program of this project: by its path beside this one, before they are
/// installed too, if this one was called by a path and it is there; else by its name.
std::string program_beside(std::string_view name);

/// `text` in double quotes.
std::string quoted(std::string_view text);

/// A number as an option takes it, with as few digits as six allow.
std::string number_text(double value);
