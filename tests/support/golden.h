#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

/// Expects `text` to be what the file at `path` holds. With UPDATE_GOLDEN set in the environment
/// the file is written instead: look at what `git diff` says of it.
inline void expect_golden(const std::string& path, const std::string& text) {
  if (std::getenv("UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path) << text;
    return;
  }
  std::ifstream in(path);
  ASSERT_TRUE(in) << "no " << path << ": make it with UPDATE_GOLDEN=1, and look at it";
  EXPECT_EQ(text, std::string(std::istreambuf_iterator<char>(in), {}))
      << path << ": if this is meant, write it anew with UPDATE_GOLDEN=1";
}
