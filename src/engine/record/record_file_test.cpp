#include "engine/record/record_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

#include "engine/record/line.h"
#include "engine/record/record.h"
#include "support/record_reader.h"

namespace {

std::string new_path(const char* name) {
  const std::string path =
      testing::TempDir() + "record_file." + std::to_string(getpid()) + "." + name;
  unlink(path.c_str());
  return path;
}

std::string content(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::string refusal(const std::string& path) {
  try {
    const RecordFile file(path);
  } catch (const RecordError& error) {
    return error.what();
  }
  return "none";
}

/// Files of this process take no more than `bytes`, as if the disk were full.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : ignored_(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit now{.rlim_cur = bytes, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &now);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    signal(SIGXFSZ, ignored_);
  }

 private:
  rlimit before_{};
  void (*ignored_)(int);
};

TEST(RecordLineText, ComesBackAsItWas) {
  const std::string text("a\tb\nc\rd\\e\\n\xC3\xA4 ", 13);
  std::string line;
  Line(line, "word").add(text).add(-7).add(0.1).add("");
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  line.pop_back();
  EXPECT_EQ(parse_record_line(line), (RecordLine{"word", text, "-7", "0.1", ""}));
}

TEST(RecordFile, IsEmptiedAndTakesLines) {
  const std::string path = new_path("lines");
  std::ofstream(path) << "what was here before\n";
  RecordFile file(path);
  EXPECT_EQ(content(path), "");
  file.write("a\nb\n");
  file.write("c\n");
  EXPECT_EQ(content(path), "a\nb\nc\n");
  EXPECT_EQ(file.lines_lost(), 0U);
}

TEST(RecordFile, ThatCannotBeMadeIsNamedWithTheReason) {
  EXPECT_EQ(refusal("/nowhere/record"), "/nowhere/record: No such file or directory");
  EXPECT_EQ(refusal("/"), "/: Is a directory");
  const std::string pipe = new_path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(refusal(pipe), pipe + ": Nobody reads this pipe");
}

TEST(RecordFile, OnAFullDiskHoldsWholeLinesAndCountsTheOthers) {
  const std::string path = new_path("full");
  RecordFile file(path);
  {
    const FullDisk disk(10);
    file.write("12345\n12345\n12345\n");
    file.write("more\n");
  }
  EXPECT_EQ(content(path), "12345\n");
  EXPECT_EQ(file.lines_lost(), 3U);
  EXPECT_EQ(file.reason(), EFBIG);
  file.write("room again\n");
  EXPECT_EQ(content(path), "12345\nroom again\n");
}

TEST(RecordFile, WithoutAnyRoomLosesAllLines) {
  RecordFile file("/dev/full");
  file.write("a\nb\n");
  EXPECT_EQ(file.lines_lost(), 2U);
  EXPECT_EQ(file.reason(), ENOSPC);
}

TEST(RecordFile, WaitsForThePipesReaderUntilItIsGivenUp) {
  const std::string pipe = new_path("slow");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  RecordFile file(pipe);
  std::thread writer([&file] { file.write(std::string(1 << 20, 'x') + "\n"); });
  std::string half(1 << 19, '\0');
  std::size_t got = 0;
  while (got < half.size()) {
    const ssize_t more = read(reader, half.data(), half.size() - got);
    got += more > 0 ? static_cast<std::size_t>(more) : 0;
  }
  file.give_up();
  writer.join();
  EXPECT_EQ(file.lines_lost(), 1U);
  EXPECT_EQ(file.reason(), EAGAIN);
  close(reader);
}

}  // namespace
