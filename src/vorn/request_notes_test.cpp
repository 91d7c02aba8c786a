#include "vorn/request_notes.h"

#include <algorithm>
#include <string>
#include <vector>

#include "support/settings_fixture.h"
#include "vorn/settings.h"

namespace {

using Texts = std::vector<std::string>;

Texts texts_of(const Notes& notes) {
  Texts texts;
  for (const Note& note : notes) {
    texts.push_back(note.text);
  }
  return texts;
}

std::vector<NoteKind> kinds_of(const Request& request) {
  std::vector<NoteKind> kinds;
  for (const Note& note : notes_on_request(request)) {
    kinds.push_back(note.kind);
  }
  return kinds;
}

using Kinds = std::vector<NoteKind>;

TEST(RequestNotes, HaveNothingToSayOfAPlainRun) {
  EXPECT_EQ(texts_of(notes_on_request({})), Texts{});
}

TEST(RequestNotes, HaveNothingToSayOfARunThatIsWhatItSeems) {
  EXPECT_EQ(texts_of(notes_on_request({.given = "fzwmkrotsapi",
                                       .privileged = true,
                                       .frequency = 50,
                                       .sinusoid = 5,
                                       .rpm = 2000,
                                       .pausing = {"bspin"}})),
            Texts{});
}

TEST(RequestNotes, NameAnEnvelopeWithoutAFrequencyToShape) {
  EXPECT_EQ(texts_of(notes_on_request({.given = "z", .sinusoid = 0.5})),
            Texts{"-z 0.5 without -f: there is no waveform, the load is constant; add -f 5 or "
                  "more, ten slots for each wave"});
  EXPECT_EQ(kinds_of({.given = "e", .triangle = 0.5}), Kinds{NoteKind::envelope_without_carrier});
}

TEST(RequestNotes, NameAnEnvelopeAboveHalfOfItsFrequency) {
  EXPECT_EQ(texts_of(notes_on_request({.given = "fe", .frequency = 50, .triangle = 30})),
            Texts{"-e 30 is above half of -f 50: too few slots for each wave to show it; use -f "
                  "300 or more, or a lower -e"});
  EXPECT_EQ(kinds_of({.given = "fz", .frequency = 50, .sinusoid = 25}), Kinds{});
  EXPECT_EQ(kinds_of({.given = "fz", .frequency = 50, .sinusoid = 25.1}),
            Kinds{NoteKind::envelope_too_fast});
}

TEST(RequestNotes, OfTwoEnvelopesJudgeTheOneThatIsPlayed) {
  EXPECT_EQ(
      texts_of(notes_on_request({.given = "fze", .frequency = 50, .sinusoid = 1, .triangle = 40})),
      Texts{"-z and -e: the sinusoid is played, the triangle is not; leave one of them out"});
}

TEST(RequestNotes, OfTwoEnvelopesWithoutAFrequencySayNotThatOneIsPlayed) {
  EXPECT_EQ(kinds_of({.given = "ze", .sinusoid = 1, .triangle = 2}),
            (Kinds{NoteKind::envelope_without_carrier, NoteKind::envelope_without_carrier}));
}

TEST(RequestNotes, NameAnInversionOfNothing) {
  EXPECT_EQ(kinds_of({.given = "i"}), Kinds{NoteKind::inverted_nothing});
}

TEST(RequestNotes, NameEachWorkloadThatIgnoresTheWaveform) {
  const Request request{
      .given = "f", .frequency = 50, .deaf = {"spin", "other"}, .pausing = {"bother", "bspin"}};
  EXPECT_EQ(texts_of(notes_on_request(request)),
            (Texts{"a waveform over \"spin\", which ignores it: its threads are busy all the time; "
                   "use one that follows it: -w bother, -w bspin",
                   "a waveform over \"other\", which ignores it: its threads are busy all the "
                   "time; use one that follows it: -w bother, -w bspin"}));
}

TEST(RequestNotes, WithoutAWaveformNoWorkloadIgnoresIt) {
  EXPECT_EQ(kinds_of({.deaf = {"spin"}}), Kinds{});
}

TEST(RequestNotes, NameTheOptionsOfASamplingThatWasNotAskedFor) {
  EXPECT_EQ(texts_of(notes_on_request({.given = "okk"})),
            Texts{"-k, -o without -m: nothing is sampled; add -m"});
  EXPECT_EQ(kinds_of({.given = "r"}), Kinds{NoteKind::nothing_sampled});
}

TEST(RequestNotes, OfAnOrdinaryUserNameWhatNeedsRoot) {
  EXPECT_EQ(texts_of(notes_on_request({.given = "pas", .rpm = 3000})),
            (Texts{"-s, -a not as root: the fans stay as they are; run it with sudo, or leave "
                   "them out",
                   "-p not as root: the P-state stays as it is; run it with sudo, or leave it "
                   "out"}));
  EXPECT_EQ(kinds_of({.given = "pas", .privileged = true, .rpm = 3000}), Kinds{});
}

TEST(RequestNotes, AnOrdinaryUserWhoLeavesTheFansAloneGetsThat) {
  EXPECT_EQ(kinds_of({.given = "sa", .rpm = 0}), Kinds{});
  EXPECT_EQ(kinds_of({.given = "a", .rpm = 0}), Kinds{NoteKind::needs_superuser});
}

TEST(RequestNotes, SayThatABindingIsALabel) {
  EXPECT_EQ(texts_of(notes_on_request({.given = "b", .binding = 3})),
            Texts{"-b 3 labels the threads in the summary and does not bind them; to bind them, "
                  "start the program with \"taskset -c 3\""});
}

TEST(RequestNotes, NameAValueThatIsNotTakenAndWhatWouldBe) {
  EXPECT_EQ(note_on_value('c', "cores", "4x").text,
            "-c (--cores) does not take \"4x\"; it takes a whole number from 1 to 2147483647");
  EXPECT_EQ(note_on_value('p', "pstate", "-1").text,
            "-p (--pstate) does not take \"-1\"; it takes a whole number from 0 up");
  EXPECT_EQ(note_on_value('z', "sinusoid", "").text,
            "-z (--sinusoid) does not take \"\"; it takes a number above 0");
}

using RequestOfSettings = SettingsFixture;

TEST_F(RequestOfSettings, NamesTheWorkloadsThatRunAndThoseThatFollow) {
  workloads = {"spin", "bspin", "spin", "spin"};
  cores = 2;
  Request request = request_of_settings();
  EXPECT_EQ(request.deaf, std::vector<std::string>{"spin"}) << "once";
  EXPECT_EQ(request.pausing, std::vector<std::string>{"bspin"});
  workloads = {"bspin", "spin"};
  cores = 1;
  EXPECT_EQ(request_of_settings().deaf, std::vector<std::string>{}) << "its thread is not there";
}

}  // namespace
