#include "lab/live/look.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

namespace lab {
namespace {

/// Sets the variables that say how text is to look, and puts the ones before back.
class LookTest : public testing::Test {
 protected:
  static constexpr const char* kNames[] = {"LC_ALL", "LC_CTYPE", "LANG", "NO_COLOR"};

  LookTest() {
    for (const char* name : kNames) {
      if (const char* value = std::getenv(name)) {
        before_[name] = value;
      }
      unsetenv(name);
    }
  }
  ~LookTest() override {
    for (const char* name : kNames) {
      unsetenv(name);
    }
    for (const auto& [name, value] : before_) {
      setenv(name.c_str(), value.c_str(), 1);
    }
  }

 private:
  std::map<std::string, std::string> before_;
};

TEST_F(LookTest, WithoutALocaleIsAscii) {
  EXPECT_FALSE(look_of_environment().utf8);
}

TEST_F(LookTest, AnySpellingOfUtf8Counts) {
  for (const char* locale : {"en_US.UTF-8", "C.utf8", "de_DE.utf-8@euro"}) {
    setenv("LANG", locale, 1);
    EXPECT_TRUE(look_of_environment().utf8) << locale;
  }
  setenv("LANG", "de_DE.ISO-8859-1", 1);
  EXPECT_FALSE(look_of_environment().utf8);
}

TEST_F(LookTest, TheFirstVariableThatIsSetDecides) {
  setenv("LANG", "C.UTF-8", 1);
  setenv("LC_CTYPE", "", 1);
  EXPECT_TRUE(look_of_environment().utf8);
  setenv("LC_ALL", "C", 1);
  EXPECT_FALSE(look_of_environment().utf8);
}

TEST_F(LookTest, NoColourIsHeeded) {
  EXPECT_EQ(painted("hot", Paint::warning, look_of_environment()), "\x1b[33mhot\x1b[0m");
  setenv("NO_COLOR", "1", 1);
  EXPECT_EQ(painted("hot", Paint::warning, look_of_environment()), "hot");
}

}  // namespace
}  // namespace lab
