#include "lab/report/clean_text.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(CleanText, KeepsWhatPeopleWrite) {
  EXPECT_EQ(clean_text("Tdie: 21 °C\n\tß € 😀"), "Tdie: 21 °C\n\tß € 😀");
}

TEST(CleanText, ReplacesWhatWouldActOnATerminal) {
  EXPECT_EQ(clean_text("a\x1b[2Jb\rc\x7f"), "a�[2Jb�c�");
  EXPECT_EQ(clean_text(std::string_view("a\0b", 3)), "a�b");
  EXPECT_EQ(clean_text("\xC2\x9B"), "�") << "a control sequence of eight bits";
}

TEST(CleanText, ReplacesBytesThatAreNoCharacters) {
  EXPECT_EQ(clean_text("a\xFFz"), "a�z");
  EXPECT_EQ(clean_text("\xC3"), "�") << "cut short";
  EXPECT_EQ(clean_text("\xC0\x80"), "��") << "longer than needed";
  EXPECT_EQ(clean_text("\xED\xA0\x80"), "���") << "half of a surrogate pair";
  EXPECT_EQ(clean_text("\xF4\x90\x80\x80"), "����") << "beyond the last character";
}

TEST(CleanText, EscapesAllThatHtmlWouldRead) {
  EXPECT_EQ(html_text("<b a=\"1\" c='2'>&amp;"),
            "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;amp;");
}

TEST(CleanText, CountsColumnsNotBytes) {
  EXPECT_EQ(width("21 °C"), 5U);
  EXPECT_EQ(width("温度"), 4U);
  EXPECT_EQ(width(""), 0U);
}

}  // namespace
}  // namespace lab
