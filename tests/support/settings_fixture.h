#pragma once

#include <gtest/gtest.h>

/// Puts the run settings, the shared block and the fake host back to how an unprivileged process
/// starts, before and after each test. Links with the tests' fake machine.
class SettingsFixture : public testing::Test {
 public:
  ~SettingsFixture() override;

 protected:
  SettingsFixture();
};
