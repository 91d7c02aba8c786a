#include "vorn/sample_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace {

/// Files of this process end at `bytes`, as on a disk that is full, until this is destroyed.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    rlimit limit = before_;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_{};
};

/// Standard output goes to `descriptor`, until this is destroyed.
class Redirected {
 public:
  explicit Redirected(int descriptor) : before_(dup(STDOUT_FILENO)) {
    dup2(descriptor, STDOUT_FILENO);
    close(descriptor);
  }
  Redirected(const Redirected&) = delete;
  Redirected& operator=(const Redirected&) = delete;
  ~Redirected() {
    dup2(before_, STDOUT_FILENO);
    close(before_);
  }

 private:
  int before_;
};

class SampleFiles : public testing::Test {
 protected:
  SampleFiles() {
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
  }
  ~SampleFiles() override { std::filesystem::remove(path_); }

  std::string text() const {
    std::ifstream in(path_);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  std::string path_ = std::filesystem::temp_directory_path() /
                      ("vorn_sample_file_test_" + std::to_string(getpid()) + ".txt");
};

TEST_F(SampleFiles, ReplaceWhatWasThereByWholeLines) {
  std::ofstream(path_) << "an older and longer run\n";
  SampleFile file(path_);
  EXPECT_EQ(file.open_error(), 0);
  EXPECT_TRUE(file.write_line("0\t1\n"));
  EXPECT_TRUE(file.write_line("1\t2\n"));
  EXPECT_EQ(text(), "0\t1\n1\t2\n") << "without waiting for the end";
  EXPECT_TRUE(file.close());
  EXPECT_EQ(file.written(), 2U);
  EXPECT_EQ(file.lost(), 0U);
  EXPECT_EQ(file.error(), 0);
}

TEST_F(SampleFiles, CountEveryLineAsLostIfTheyCannotBeOpened) {
  SampleFile file("/nonexistent/folder/file");
  EXPECT_EQ(file.open_error(), ENOENT);
  EXPECT_FALSE(file.write_line("0\n"));
  EXPECT_FALSE(file.write_line("1\n"));
  EXPECT_EQ(file.lost(), 2U);
  EXPECT_EQ(file.written(), 0U);
  EXPECT_TRUE(file.close());
  EXPECT_EQ(file.error(), ENOENT);
}

TEST_F(SampleFiles, ThatArePipesWithoutAReaderFailAtOnceIfToldTo) {
  const std::string pipe = testing::TempDir() + "sample_file_pipe." + std::to_string(getpid());
  unlink(pipe.c_str());
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(SampleFile(pipe, SampleFile::Unread::fails).open_error(), ENXIO);
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  SampleFile file(pipe, SampleFile::Unread::fails);
  EXPECT_TRUE(file.write_line("0\n"));
  close(reader);
  unlink(pipe.c_str());
}

TEST_F(SampleFiles, OnAFullDeviceLoseTheirLinesAndSayWhy) {
  SampleFile file("/dev/full");
  EXPECT_EQ(file.open_error(), 0);
  EXPECT_FALSE(file.write_line("0\n"));
  EXPECT_EQ(file.lost(), 1U);
  EXPECT_EQ(file.error(), ENOSPC);
}

TEST_F(SampleFiles, TakeTheBeginningOfALineBackWhenTheDiskIsFull) {
  SampleFile file(path_);
  {
    const FullDisk disk(12);
    EXPECT_TRUE(file.write_line("line 1\n"));
    EXPECT_FALSE(file.write_line("line 2\n"));
    EXPECT_FALSE(file.write_line("line 3\n"));
    EXPECT_EQ(text(), "line 1\n");
  }
  EXPECT_EQ(file.error(), EFBIG);
  EXPECT_TRUE(file.write_line("line 4\n")) << "there is room again";
  EXPECT_EQ(text(), "line 1\nline 4\n");
  EXPECT_EQ(file.lost(), 2U);
  EXPECT_EQ(file.written(), 2U);
}

TEST_F(SampleFiles, AppendedToByStandardOutputKeepWhatWasThereWhenTheDiskIsFull) {
  std::ofstream(path_) << "before\n";
  const Redirected redirected(open(path_.c_str(), O_WRONLY | O_APPEND));
  SampleFile file("-");
  bool first = false;
  bool second = true;
  {
    const FullDisk disk(17);
    first = file.write_line("line 1\n");
    second = file.write_line("line 2\n");
  }
  EXPECT_TRUE(first);
  EXPECT_FALSE(second);
  EXPECT_EQ(text(), "before\nline 1\n");
}

TEST_F(SampleFiles, FinishALineFirstIfSomethingStandsBehindIt) {
  std::ofstream(path_) << std::string(30, 'x');
  const Redirected redirected(open(path_.c_str(), O_WRONLY));
  SampleFile file("-");
  {
    const FullDisk disk(10);
    file.write_line("line 1\n");
    file.write_line("line 2\n");
    file.write_line("line 3\n");
  }
  EXPECT_EQ(text().substr(0, 11), "line 1\nlinx");
  EXPECT_TRUE(file.write_line("line 4\n"));
  EXPECT_EQ(text().substr(0, 22), "line 1\nline 2\nline 4\nx");
  EXPECT_EQ(file.lost(), 2U);
}

TEST_F(SampleFiles, WaitForAReaderAlsoInAPipeThatIsNotToBlock) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  fcntl(ends[1], F_SETPIPE_SZ, 4096);
  const std::string line = std::string(6000, 'y') + "\n";
  std::string read_text;
  std::thread reader([&] {
    fcntl(ends[0], F_SETFL, 0);
    std::array<char, 512> piece{};
    for (ssize_t got = 0; (got = read(ends[0], piece.data(), piece.size())) > 0;) {
      read_text.append(piece.data(), static_cast<std::size_t>(got));
    }
  });
  {
    const Redirected redirected(ends[1]);
    SampleFile file("-");
    EXPECT_TRUE(file.write_line(line));
    EXPECT_TRUE(file.write_line(line));
  }
  reader.join();
  close(ends[0]);
  EXPECT_EQ(read_text, line + line);
}

TEST_F(SampleFiles, OfAReaderThatHasGoneLoseTheirLines) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  const Redirected redirected(ends[1]);
  SampleFile file("-");
  EXPECT_FALSE(file.write_line("0\n"));
  EXPECT_EQ(file.error(), EPIPE);
}

}  // namespace
