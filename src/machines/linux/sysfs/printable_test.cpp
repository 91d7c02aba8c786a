#include "machines/linux/sysfs/printable.h"

#include <gtest/gtest.h>

namespace sysfs {
namespace {

TEST(Printable, LeavesTextAsItIs) {
  for (const char* text : {"", "Package id 0", "\\x", "Gehäuse 45 °C", "温度", "🌀"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(Printable, ShowsControlCharactersAsNumbers) {
  EXPECT_EQ(printable("CPU\x1b[31m"), "CPU\\x1b[31m");
  EXPECT_EQ(printable("a\tb\nc\r"), "a\\x09b\\x0ac\\x0d");
  EXPECT_EQ(printable(std::string_view("a\0b\x7f", 4)), "a\\x00b\\x7f");
  EXPECT_EQ(printable("\u0085\u009b31m"), "\\xc2\\x85\\xc2\\x9b31m");
  EXPECT_EQ(printable("\u202Etxt\u2066"), "\\xe2\\x80\\xaetxt\\xe2\\x81\\xa6");
}

TEST(Printable, ShowsWhatIsNoUtf8AsNumbers) {
  EXPECT_EQ(printable("\x9b"), "\\x9b");
  EXPECT_EQ(printable("\xff"
                      "a"),
            "\\xffa");
  EXPECT_EQ(printable("\xc3"), "\\xc3") << "cut off";
  EXPECT_EQ(printable("\xc3("), "\\xc3(");
  EXPECT_EQ(printable("\xc0\x9b"), "\\xc0\\x9b") << "a control character in too many bytes";
  EXPECT_EQ(printable("\xe0\x82\x9b"), "\\xe0\\x82\\x9b");
  EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "half of a pair";
  EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond the last character";
}

}  // namespace
}  // namespace sysfs
