#include "Process/shell_word.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>

namespace {

/// What the shell of this machine makes of a command line's output.
std::string output_of(const std::string& command) {
  struct Close {
    void operator()(FILE* stream) const { pclose(stream); }
  };
  const std::unique_ptr<FILE, Close> stream(popen(command.c_str(), "r"));
  std::array<char, 256> bytes{};
  return {bytes.data(), std::fread(bytes.data(), 1, bytes.size(), stream.get())};
}

TEST(ShellWord, APlainPathStaysAsItIs) {
  EXPECT_EQ(process::shell_word("./build/release/vorn-sim_1.0+x"),
            "./build/release/vorn-sim_1.0+x");
}

TEST(ShellWord, WhatAShellWouldTakeApartIsQuoted) {
  EXPECT_EQ(process::shell_word("/home/ann/my builds/vorn"), "'/home/ann/my builds/vorn'");
  EXPECT_EQ(process::shell_word(""), "''");
}

TEST(ShellWord, AShellReadsItBack) {
  for (const char* text : {"a b", "it's", "$HOME `id` $(id)", "\"x\"", "~", "a\\b;c&d|e*"}) {
    EXPECT_EQ(output_of("printf %s " + process::shell_word(text)), text);
  }
}

}  // namespace
