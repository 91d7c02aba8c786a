#include "lab/folder/record_line.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

TEST(RecordLine, HasAKeywordAndFields) {
  const RecordLine line("edge\t10\t12\ton");
  EXPECT_EQ(line.keyword(), "edge");
  EXPECT_EQ(line.whole(1), 12);
  EXPECT_EQ(line.field(2), "on");
}

TEST(RecordLine, MayHaveNoFields) {
  const RecordLine line("end");
  EXPECT_EQ(line.keyword(), "end");
  EXPECT_EQ(line.field(0), "");
  EXPECT_FALSE(line.whole(0));
}

TEST(RecordLine, ResolvesEscapes) {
  EXPECT_EQ(RecordLine("error\ta\\tb\\nc\\\\d\\re").text(0), "a\tb\nc\\d\re");
}

TEST(RecordLine, AFieldThatIsNoNumberIsNone) {
  const RecordLine line("sample\t12x\t0.5");
  EXPECT_FALSE(line.whole(0));
}

}  // namespace
}  // namespace lab
