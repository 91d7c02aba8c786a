#include "vorn/sampling_notes.h"

#include <cstring>

#include "vorn/sample_file.h"
#include "vorn/sampling_grid.h"

namespace {

std::string name_of(const SampleFile& file) {
  return file.path() == "-" ? "standard output" : ::quoted(file.path());
}

std::string reason(const SampleFile& file) {
  return name_of(file) + ": " + std::strerror(file.error());
}

}  // namespace

Notes notes_on_opening(const SampleFile& file) {
  if (file.open_error() == 0) {
    return {};
  }
  return {{NoteKind::file_not_opened,
           "the samples are lost, their file cannot be opened: " + reason(file) +
               "; name with -o a file that this user may write, in a folder that exists"}};
}

Note note_on_first_loss(const SampleFile& file) {
  return {NoteKind::file_not_written, "samples are lost, they cannot be written: " + reason(file) +
                                          "; lines are taken again when that is over"};
}

Notes notes_on_lost_lines(const SampleFile& file, bool kept) {
  Notes notes;
  if (file.lost() != 0) {
    notes.push_back({NoteKind::lines_lost, std::to_string(file.lost()) + " of " +
                                               std::to_string(file.lost() + file.written()) +
                                               " lines of samples were lost: " + reason(file) +
                                               "; sample again into another file (-o)"});
  }
  if (!kept) {
    notes.push_back(
        {NoteKind::lines_lost, "lines at the end of the samples may be lost: " + reason(file) +
                                   "; sample again into another file (-o)"});
  }
  return notes;
}

Notes notes_on_grid(const SamplingGrid& grid) {
  Notes notes;
  if (grid.began_late()) {
    notes.push_back({NoteKind::samples_late,
                     "of the first " + number_text(grid.behind()) +
                         " s there are no samples, their file or the sensors took that long to "
                         "open; name a file on another disk (-o), or a longer time (-t)"});
  }
  if (grid.late() != 0 || grid.left_out() != 0) {
    notes.push_back(
        {NoteKind::samples_late,
         "of " + std::to_string(grid.points()) + " samples " + std::to_string(grid.late()) +
             " were late and " + std::to_string(grid.left_out()) +
             " left out, the longest gap was " + number_text(grid.longest_gap()) +
             " s; fewer samples a second (-r), fewer keys (-k) or a load that pauses (-w bspin "
             "with -f) help"});
  }
  return notes;
}
