#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include "engine/waveforms/waveform_error.h"

/// A file with a text, as long as the test needs it.
class TestFile {
 public:
  explicit TestFile(std::string_view text) {
    path_ =
        testing::TempDir() + "waveform." + std::to_string(getpid()) + "." + std::to_string(++made);
    std::ofstream(path_, std::ios::binary) << text;
  }
  TestFile(const TestFile&) = delete;
  TestFile& operator=(const TestFile&) = delete;
  ~TestFile() { std::remove(path_.c_str()); }

  const std::string& path() const { return path_; }

 private:
  static inline int made = 0;
  std::string path_;
};

/// What the WaveformError says that `action` throws, without the path of `file`.
template <class Action>
std::string complaint(const TestFile& file, const Action& action) {
  try {
    action(file.path());
  } catch (const WaveformError& error) {
    const std::string text = error.what();
    return text.starts_with(file.path()) ? text.substr(file.path().size()) : text;
  }
  return "nothing thrown";
}
