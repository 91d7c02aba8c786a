#include "Process/patient_write.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

class PatientWrite : public testing::Test {
 protected:
  PatientWrite() { EXPECT_EQ(pipe(ends_.data()), 0); }
  ~PatientWrite() override {
    close(ends_[0]);
    close(ends_[1]);
  }

  std::string read_some(std::size_t size) const {
    std::string text(size, '\0');
    const ssize_t got = read(ends_[0], text.data(), text.size());
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return text;
  }
  void fill() const {
    fcntl(ends_[1], F_SETFL, O_NONBLOCK);
    while (write(ends_[1], "x", 1) == 1) {
    }
    fcntl(ends_[1], F_SETFL, 0);
  }

  std::array<int, 2> ends_{};
};

TEST_F(PatientWrite, IsWholeWhereThereIsRoom) {
  EXPECT_TRUE(process::write_until(ends_[1], "one\ntwo\n", Clock::now()));
  EXPECT_EQ(read_some(100), "one\ntwo\n");
  EXPECT_TRUE(process::write_until(ends_[1], "", Clock::now()));
}

TEST_F(PatientWrite, GivesUpAReaderWhoDoesNotRead) {
  fill();
  const auto deadline = Clock::now() + std::chrono::milliseconds(20);
  EXPECT_FALSE(process::write_until(ends_[1], "one\n", deadline));
  EXPECT_GE(Clock::now(), deadline - std::chrono::milliseconds(1));
}

TEST_F(PatientWrite, GoesOnWhenTheReaderReadsOn) {
  fill();
  std::thread reader([this] {
    for (std::size_t left = 200'000; left > 0;) {
      left -= std::min(left, read_some(left).size());
    }
  });
  const std::string text(150'000, 'y');
  EXPECT_TRUE(process::write_until(ends_[1], text, Clock::now() + std::chrono::seconds(60)));
  fill();
  reader.join();
}

TEST_F(PatientWrite, FailsWhereNothingCanBeWritten) {
  EXPECT_FALSE(process::write_until(ends_[0], "one\n", Clock::now()));
}

}  // namespace
