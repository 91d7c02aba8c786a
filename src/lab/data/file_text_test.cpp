#include "lab/data/file_text.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace lab {
namespace {

TEST(FileText, AFileIsReadToItsEnd) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("file_text." + std::to_string(getpid()));
  const std::string text = std::string(200000, 'x') + "\nend";
  std::ofstream(path) << text;
  EXPECT_EQ(text_of_file(path), text);
  std::filesystem::remove(path);
}

TEST(FileText, AFolderIsNoFile) {
  EXPECT_FALSE(text_of_file(std::filesystem::temp_directory_path()));
  EXPECT_EQ(errno, EISDIR);
}

TEST(FileText, WhatIsNotThereIsSaidByErrno) {
  EXPECT_FALSE(text_of_file("/nowhere/at/all"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(text_of_file("/dev/null"), "");
}

}  // namespace
}  // namespace lab
