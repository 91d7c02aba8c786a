#include "vorn/sampling_notes.h"

#include <gtest/gtest.h>

#include <string>

#include "vorn/sample_file.h"
#include "vorn/sampling_grid.h"

namespace {

std::string only(const Notes& notes) {
  return notes.size() == 1 ? notes.front().text : std::to_string(notes.size()) + " notes";
}

TEST(SamplingNotes, NameAFileThatCannotBeOpenedAndTheReason) {
  SampleFile file("/nonexistent/file");
  EXPECT_EQ(only(notes_on_opening(file)),
            "the samples are lost, their file cannot be opened: \"/nonexistent/file\": No such "
            "file or directory; name with -o a file that this user may write, in a folder that "
            "exists");
  file.write_line("0\n");
  file.write_line("1\n");
  EXPECT_EQ(only(notes_on_lost_lines(file, file.close())),
            "2 of 2 lines of samples were lost: \"/nonexistent/file\": No such file or directory; "
            "sample again into another file (-o)");
}

TEST(SamplingNotes, NameAFileThatTakesNothing) {
  SampleFile file("/dev/full");
  EXPECT_TRUE(notes_on_opening(file).empty());
  file.write_line("0\n");
  EXPECT_EQ(note_on_first_loss(file).text,
            "samples are lost, they cannot be written: \"/dev/full\": No space left on device; "
            "lines are taken again when that is over");
}

TEST(SamplingNotes, HaveNothingToSayOfAFileThatTookEverything) {
  SampleFile file("/dev/null");
  file.write_line("0\n");
  EXPECT_TRUE(notes_on_lost_lines(file, file.close()).empty());
}

TEST(SamplingNotes, SayIfTheEndOfTheFileMayBeMissing) {
  SampleFile file("/dev/null");
  file.write_line("0\n");
  EXPECT_TRUE(only(notes_on_lost_lines(file, false))
                  .starts_with("lines at the end of the samples may be lost: \"/dev/null\": "));
}

TEST(SamplingNotes, CountWhatWasLateAndLeftOut) {
  SamplingGrid grid(0.1);
  EXPECT_TRUE(notes_on_grid(grid).empty());
  for (const double time : {0.0, 0.1, 0.38, 0.4}) {
    grid.taken({time, time});
  }
  EXPECT_EQ(only(notes_on_grid(grid)),
            "of 5 samples 1 were late and 1 left out, the longest gap was 0.28 s; fewer samples a "
            "second (-r), fewer keys (-k) or a load that pauses (-w bspin with -f) help");
}

TEST(SamplingNotes, SayForHowLongThereWereNoSamples) {
  SamplingGrid grid(0.1, 0.85);
  grid.taken({0.0, 0.0});
  EXPECT_EQ(only(notes_on_grid(grid)),
            "of the first 0.85 s there are no samples, their file or the sensors took that long to "
            "open; name a file on another disk (-o), or a longer time (-t)");
}

}  // namespace
