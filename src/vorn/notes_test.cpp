#include "vorn/notes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "vorn/thread_notes.h"

namespace {

/// The program goes by `called`, until this is destroyed.
class Called {
 public:
  explicit Called(char* called)
      : name_(program_invocation_name), short_name_(program_invocation_short_name) {
    program_invocation_name = called;
    const std::string_view text = called;
    const std::size_t slash = text.rfind('/');
    program_invocation_short_name = called + (slash == std::string_view::npos ? 0 : slash + 1);
  }
  Called(const Called&) = delete;
  Called& operator=(const Called&) = delete;
  ~Called() {
    program_invocation_name = name_;
    program_invocation_short_name = short_name_;
  }

 private:
  char* name_;
  char* short_name_;
};

std::string said(const Notes& notes) {
  testing::internal::CaptureStderr();
  say(notes);
  return testing::internal::GetCapturedStderr();
}

TEST(Notes, AreLinesThatBeginWithTheProgramsName) {
  std::string called = "/opt/bin/vorn-sim";
  const Called as(called.data());
  EXPECT_EQ(said({{NoteKind::lines_lost, "one"}, {NoteKind::samples_late, "two"}}),
            "vorn-sim: note: one\nvorn-sim: note: two\n");
}

TEST(Notes, StayOneLineWhateverTheyQuote) {
  const std::string text = said({{NoteKind::word_not_taken, "a\nb\tc\x7F"}});
  EXPECT_TRUE(text.ends_with(": note: a?b?c?\n")) << text;
}

TEST(Notes, AreLeftOutIfNobodyReadsThem) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  const std::string page(4096, 'x');
  while (write(ends[1], page.data(), page.size()) > 0) {  // until it is full
  }
  fcntl(ends[1], F_SETFL, 0);
  const int before = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  say({{NoteKind::lines_lost, "nobody waits for this"}});
  dup2(before, STDERR_FILENO);
  for (const int descriptor : {before, ends[0], ends[1]}) {
    close(descriptor);
  }
}

TEST(Notes, NameTheProgramsFileForAShell) {
  std::string path = "./build/release/vorn";
  std::string word = "vorn";
  {
    const Called as(path.data());
    EXPECT_EQ(program_file(), "./build/release/vorn");
  }
  const Called as(word.data());
  EXPECT_EQ(program_file(), "\"$(command -v vorn)\"");
}

TEST(Notes, QuoteAPathThatAShellWouldTakeApart) {
  std::string folder = std::filesystem::temp_directory_path() / "vorn test XXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  std::filesystem::create_symlink("/bin/sh", folder + "/sh");
  std::string path = folder + "/vorn";
  const Called as(path.data());
  EXPECT_EQ(program_file(), "'" + path + "'");
  EXPECT_EQ(program_beside("sh"), "'" + folder + "/sh'");
  std::filesystem::remove_all(folder);
}

TEST(Notes, NameTheProgramBesideThisOneIfItIsThere) {
  std::string path = "/bin/vorn";
  std::string word = "vorn";
  {
    const Called as(path.data());
    EXPECT_EQ(program_beside("sh"), "/bin/sh");
    EXPECT_EQ(program_beside("vorn-keys-that-is-not-there"), "vorn-keys-that-is-not-there");
  }
  const Called as(word.data());
  EXPECT_EQ(program_beside("sh"), "sh");
}

TEST(ThreadNotes, SayWhichRightIsMissingAndThreeWaysToGiveIt) {
  std::string path = "./vorn";
  const Called as(path.data());
  EXPECT_EQ(note_on_refused_thread(EPERM).text, note_on_refused_priority().text);
  EXPECT_EQ(note_on_refused_priority().text,
            "this user has no right to a fixed priority; give it to the program (sudo setcap "
            "cap_sys_nice+ep ./vorn), to the user from the next login on (a line \"USER - "
            "rtprio 64\" in /etc/security/limits.d/vorn.conf), or to a container (--cap-add "
            "sys_nice)");
}

TEST(ThreadNotes, DoNotBlameTheRightsForALimitOfThreads) {
  const Note note = note_on_refused_thread(EAGAIN);
  EXPECT_EQ(note.kind, NoteKind::thread_refused);
  EXPECT_NE(note.text.find("Resource temporarily unavailable"), std::string::npos) << note.text;
}

}  // namespace
