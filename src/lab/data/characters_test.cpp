#include "lab/data/characters.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(Characters, TextOfPeopleStaysAsItIs) {
  EXPECT_EQ(printable("CPU 1: 45 °C, 温度 😀", true), "CPU 1: 45 °C, 温度 😀");
}

TEST(Characters, WhatATerminalWouldObeyIsSpeltOut) {
  EXPECT_EQ(printable("a\x1b[2Jb\nc\td\x7f", true), "a\\x1b[2Jb\\nc\\td\\x7f");
  EXPECT_EQ(printable("\u009b2J \u202egnorw", true), "\\u009b2J \\u202egnorw");
  EXPECT_EQ(printable(std::string_view("\0", 1), true), "\\x00");
}

TEST(Characters, BytesThatAreNoCharacterAreSpeltOut) {
  EXPECT_EQ(printable("\xff\xe2\x82", true), "\\xff\\xe2\\x82");
  EXPECT_EQ(printable("\xc0\xaf", true), "\\xc0\\xaf") << "a long form of a slash";
  EXPECT_EQ(printable("\xed\xa0\x80", true), "\\xed\\xa0\\x80") << "half of a pair";
  EXPECT_EQ(printable("\xf5\x80\x80\x80", true), "\\xf5\\x80\\x80\\x80") << "beyond the last one";
}

TEST(Characters, WithoutUtf8EachOtherCharacterIsAQuestionMark) {
  EXPECT_EQ(printable("45 °C 温", false), "45 ?C ?");
}

TEST(Characters, TakeNoColumnOrOneOrTwo) {
  EXPECT_EQ(columns_of(U'a'), 1);
  EXPECT_EQ(columns_of(U'°'), 1);
  EXPECT_EQ(columns_of(U'█'), 1);
  EXPECT_EQ(columns_of(U'\u0301'), 0);
  EXPECT_EQ(columns_of(U'温'), 2);
  EXPECT_EQ(columns_of(U'😀'), 2);
}

TEST(Characters, WidthCountsColumnsAndNotBytes) {
  EXPECT_EQ(display_width("45 °C"), 5);
  EXPECT_EQ(display_width("温度"), 4);
  EXPECT_EQ(display_width("e\u0301"), 1);
}

}  // namespace
}  // namespace lab
