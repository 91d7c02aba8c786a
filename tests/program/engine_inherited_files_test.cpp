#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "program/engine_program.h"
#include "program/samples.h"
#include "support/record_reader.h"

// Files that whoever starts the engine opens, with rights of its own, and hands over as /dev/fd/N.

namespace {

using program::As;
using program::Outcome;

/// A file of the test's that the programs it starts inherit open, and that holds something.
class OpenFile {
 public:
  explicit OpenFile(const std::string& path) : file_(open(path.c_str(), O_RDWR | O_CREAT, 0666)) {
    fchmod(file_, 0666);
    const std::string old(100000, 'x');
    EXPECT_EQ(write(file_, old.data(), old.size()), static_cast<ssize_t>(old.size()));
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() { close(file_); }

  std::string path() const { return "/dev/fd/" + std::to_string(file_); }

 private:
  int file_;
};

TEST(Engine, WritesSamplesAndRecordToFilesThatItInheritsOpen) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const OpenFile record(folder.file("record"));
  const OpenFile samples(folder.file("samples"));
  const Outcome outcome =
      program::run(engine({"-w", "bspin", "-c", "1", "-f", "20", "-t", "0.4", "-m", "-r", "20",
                           "--header", "-o", samples.path(), "--record", record.path()}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const RecordReader reader(folder.file("record"));
  EXPECT_EQ(reader.lines().front().front(), "vorn-record");
  EXPECT_EQ(reason_of(folder.file("record")), "0, run time over");
  const std::string text = read_file(folder.file("samples"));
  EXPECT_EQ(text.front(), '#');
  EXPECT_EQ(text.find("xx"), std::string::npos);
  EXPECT_GT(reader.of("sample").size(), 4U);
}

// Their names may be gone, or lead to another file by then.
TEST(Engine, WritesToInheritedFilesWithoutANameAndRefusesOneForTwoPurposes) {
  SKIP_UNLESS_MAY_RUN(As::kUserWithFixedPriority);
  const OpenFolder folder;
  const OpenFile record(folder.file("record"));
  const std::string kept = "/proc/" + std::to_string(getpid()) + "/fd/" +
                           record.path().substr(std::string_view("/dev/fd/").size());
  ASSERT_EQ(unlink(folder.file("record").c_str()), 0);
  const Outcome both = program::run(
      engine({"-w", "bspin", "-t", "0.1", "-m", "-o", record.path(), "--record", record.path()}));
  EXPECT_EQ(both.status, 10) << both.err;
  EXPECT_EQ(read_file(kept).size(), 100000U);
  const Outcome outcome =
      program::run(engine({"-w", "bspin", "-c", "1", "-t", "0.1", "--record", record.path()}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(reason_of(kept), "0, run time over");
}

}  // namespace
