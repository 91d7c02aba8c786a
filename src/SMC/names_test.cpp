#include <gmock/gmock.h>

#include <random>

#include "SMC/SMC.h"
#include "support/thrown.h"

namespace {

using testing::HasSubstr;

TEST(NamesTest, AKeysFirstCharacterIsItsMostSignificantByte) {
  EXPECT_EQ(SMC::key("F0Tg"), 0x46305467U);
  EXPECT_EQ(SMC::key("FS! "), 0x46532120U);
  EXPECT_EQ(SMC::key("a cd"), 0x61206364U);
}

TEST(NamesTest, ANameHasFourCharactersBlanksAndZeroBytesIncluded) {
  EXPECT_EQ(SMC::name(0x46532120), "FS! ");
  EXPECT_EQ(SMC::name(0), std::string(4, '\0'));
}

TEST(NamesTest, AnyLengthButFourIsMalformed) {
  const auto failure = [](const std::string& name) {
    return thrown<SMCException>([&] { SMC::key(name); });
  };
  EXPECT_EQ(failure("F0T"), "Malformed SMC key \"F0T\"");
  EXPECT_EQ(failure("F0Tg "), "Malformed SMC key \"F0Tg \"");
  EXPECT_EQ(failure(""), "Malformed SMC key \"\"");
  EXPECT_EQ(failure(std::string("F0T\0g", 5)), std::string("Malformed SMC key \"F0T\0g\"", 25));
}

TEST(NamesTest, ACharacterOf0x80OrAboveSetsEveryBitAboveItsOwnByteInAKey) {
  EXPECT_EQ(SMC::key("ab\xE9"
                     "d"),
            0xFFFFE964U);
  EXPECT_EQ(SMC::key("abc\x80"), 0xFFFFFF80U);
  EXPECT_EQ(SMC::key("\xE9"
                     "bcd"),
            0xE9626364U);
  static_assert(sizeof(smc_code) == 4);
}

// The rule seen from the code's side: a byte is all ones if a later character is negative.
smc_code expected_key(const std::string& name) {
  smc_code code = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    smc_code byte = static_cast<unsigned char>(name[i]);
    for (std::size_t later = i + 1; later < 4; ++later) {
      if (static_cast<unsigned char>(name[later]) >= 0x80) {
        byte = 0xFF;
      }
    }
    code = code * 256 + byte;
  }
  return code;
}

void expect_key_and_name_by_their_rules(const std::string& name) {
  ASSERT_EQ(SMC::key(name), expected_key(name)) << testing::PrintToString(name);
  smc_code code = 0;
  for (const char character : name) {
    code = code * 256 + static_cast<unsigned char>(character);
  }
  ASSERT_EQ(SMC::name(code), name) << testing::PrintToString(name);
}

TEST(NamesTest, KeyAndNameFollowTheirRulesForEveryFourBytes) {
  const std::string bytes("\0\x01 !09AZaz\x7F\x80\x81\xE9\xFE\xFF", 16);
  for (const char a : bytes) {
    for (const char b : bytes) {
      for (const char c : bytes) {
        for (const char d : bytes) {
          expect_key_and_name_by_their_rules({a, b, c, d});
        }
      }
    }
  }
  std::minstd_rand random(41);
  for (int i = 0; i < 200'000; ++i) {
    std::string name(4, '\0');
    for (char& character : name) {
      character = static_cast<char>(random() >> 8);
    }
    expect_key_and_name_by_their_rules(name);
  }
}

std::string families(const char* type) {
  const smc_code code = SMC::key(type);
  std::string text;
  text += SMC::is_unsigned_int(code) ? "ui" : "";
  text += SMC::is_signed_int(code) ? "si" : "";
  text += SMC::is_fixed_point(code) ? "fp" : "";
  text += SMC::is_signed_point(code) ? "sp" : "";
  return text;
}

TEST(NamesTest, ATypesFamilyIsToldByItsFirstTwoCharactersAlone) {
  EXPECT_EQ(families("ui8 "), "ui");
  EXPECT_EQ(families("ui32"), "ui");
  EXPECT_EQ(families("si16"), "si");
  EXPECT_EQ(families("fp88"), "fp");
  EXPECT_EQ(families("fpe2"), "fp");
  EXPECT_EQ(families("sp78"), "sp");
  EXPECT_EQ(families("ui??"), "ui");
  EXPECT_EQ(families("fp  "), "fp");
  EXPECT_EQ(families("flag"), "");
  EXPECT_EQ(families("iu16"), "");
}

TEST(NamesTest, ATypeInUpperCaseIsOfNoFamily) {
  EXPECT_EQ(families("FP88"), "");
  EXPECT_EQ(families("fP88"), "");
  EXPECT_EQ(families("UI16"), "");
}

TEST(NamesTest, TheSixIntegerTypesHaveTheirSizes) {
  EXPECT_EQ(SMC::integer_size(SMC::key("ui8 ")), 1);
  EXPECT_EQ(SMC::integer_size(SMC::key("si8 ")), 1);
  EXPECT_EQ(SMC::integer_size(SMC::key("ui16")), 2);
  EXPECT_EQ(SMC::integer_size(SMC::key("si16")), 2);
  EXPECT_EQ(SMC::integer_size(SMC::key("ui32")), 4);
  EXPECT_EQ(SMC::integer_size(SMC::key("si32")), 4);
}

TEST(NamesTest, AnyOtherTypeHasNoIntegerSize) {
  for (const char* type : {"ui08", "ui64", "si64", "UI16", "ui1 ", "fp88", "sp78", "flag"}) {
    EXPECT_EQ(thrown<SMCException>([&] { SMC::integer_size(SMC::key(type)); }),
              "Asked for the size of non-integral/unrecognized type")
        << type;
  }
}

TEST(NamesTest, EveryCharacterIsALowerCaseHexadecimalDigitOrRefused) {
  const std::string digits = "0123456789abcdef";
  for (int c = -128; c < 128; ++c) {
    const char character = static_cast<char>(c);
    const std::size_t value = digits.find(character);
    if (value != std::string::npos) {
      EXPECT_EQ(SMC::single_ascii_hex_to_int(character), static_cast<int>(value));
    } else {
      EXPECT_EQ(thrown<SMCException>([&] { SMC::single_ascii_hex_to_int(character); }),
                "Cannot parse hex integer")
          << c;
    }
  }
}

TEST(NamesTest, TheIntegerWidthIsTheThirdCharacter) {
  const auto width = [](const char* type) {
    return SMC::fixed_point_integer_width(SMC::key(type));
  };
  EXPECT_EQ(width("fp88"), 8);
  EXPECT_EQ(width("fpe2"), 14);
  EXPECT_EQ(width("fpc4"), 12);
  EXPECT_EQ(width("fp1f"), 1);
  EXPECT_EQ(width("fpf1"), 15);
  EXPECT_EQ(width("sp78"), 7);
  EXPECT_EQ(width("sp0f"), 0);
  EXPECT_EQ(width("spf0"), 15);
}

TEST(NamesTest, AnUpperCaseWidthDigitLeavesTheFamilyButNotTheWidth) {
  for (const char* type : {"fpE2", "fp8G", "sp7 ", "fp  "}) {
    EXPECT_EQ(thrown<SMCException>([&] { SMC::fixed_point_integer_width(SMC::key(type)); }),
              "Cannot parse hex integer")
        << type;
  }
  EXPECT_TRUE(SMC::is_fixed_point(SMC::key("fpE2")));
}

TEST(NamesDeathTest, OnlyAPointTypeHasAnIntegerWidth) {
  EXPECT_DEATH(SMC::fixed_point_integer_width(SMC::key("ui16")),
               HasSubstr("Assertion failed: (is_fixed_point(type) || is_signed_point(type)), "
                         "function fixed_point_integer_width, file src/SMC.\n"));
}

TEST(NamesDeathTest, TheBitsOfAFixedPointTypeAddUpTo16AndOfASignedOneTo15) {
  const std::string text =
      "Assertion failed: (integer + fraction == total), "
      "function fixed_point_integer_width, file src/SMC.\n";
  EXPECT_DEATH(SMC::fixed_point_integer_width(SMC::key("fp87")), HasSubstr(text));
  EXPECT_DEATH(SMC::fixed_point_integer_width(SMC::key("fp89")), HasSubstr(text));
  EXPECT_DEATH(SMC::fixed_point_integer_width(SMC::key("sp88")), HasSubstr(text));
  EXPECT_DEATH(SMC::fixed_point_integer_width(SMC::key("sp77")), HasSubstr(text));
}

}  // namespace
