#include <gmock/gmock.h>

#include <array>

#include "SMC/SMC.h"
#include "support/controller_fixture.h"
#include "support/thrown.h"

namespace {

using testing::HasSubstr;
using TwoBytes = std::array<unsigned char, 2>;

TwoBytes to_bytes(int raw) {
  return {static_cast<unsigned char>(raw >> 8), static_cast<unsigned char>(raw & 0xFF)};
}

float unpack(const char* type, int raw) {
  return SMC::unpack_fixed_point(to_bytes(raw).data(), SMC::key(type));
}

float unpack_signed(const char* type, int raw) {
  return SMC::unpack_signed_point(to_bytes(raw).data(), SMC::key(type));
}

TEST(UnpackTest, Fp88HasItsFractionIn256ths) {
  EXPECT_EQ(unpack("fp88", 0x0000), 0.0F);
  EXPECT_EQ(unpack("fp88", 0x0001), 0.00390625F);
  EXPECT_EQ(unpack("fp88", 0x2880), 40.5F);
  EXPECT_EQ(unpack("fp88", 0xFFFF), 255.99609375F);
}

TEST(UnpackTest, Fpe2HasItsFractionInQuarters) {
  EXPECT_EQ(unpack("fpe2", 0x0000), 0.0F);
  EXPECT_EQ(unpack("fpe2", 0x0003), 0.75F);
  EXPECT_EQ(unpack("fpe2", 0x1770), 1500.0F);
  EXPECT_EQ(unpack("fpe2", 0x7FFC), 8191.0F);
  EXPECT_EQ(unpack("fpe2", 0xFFFF), 16383.75F);
}

TEST(UnpackTest, Sp78HasASignForItsIntegerPartAlone) {
  EXPECT_EQ(unpack_signed("sp78", 0x0000), 0.0F);
  EXPECT_EQ(unpack_signed("sp78", 0x2A40), 42.25F);
  EXPECT_EQ(unpack_signed("sp78", 0x7FFF), 127.99609375F);
  EXPECT_EQ(unpack_signed("sp78", 0x8180), -0.5F);
  EXPECT_EQ(unpack_signed("sp78", 0x8040), 0.25F);
  EXPECT_EQ(unpack_signed("sp78", 0xFF00), -127.0F);
}

TEST(UnpackTest, Sp78IsUnpackedAsAFixedPointTypeToo) {
  EXPECT_EQ(unpack("sp78", 0x8180), -0.5F);
}

TEST(UnpackTest, EveryRawValueOfEveryTypeHasItsExactValue) {
  for (int raw = 0; raw <= 0xFFFF; ++raw) {
    ASSERT_EQ(static_cast<double>(unpack("fp88", raw)), raw / 256.0) << raw;
    ASSERT_EQ(static_cast<double>(unpack("fpe2", raw)), raw / 4.0) << raw;
    // Below the sign bit, as fp88; with it, twice the integer part is taken away.
    const int magnitude = raw & 0x7FFF;
    const int integer = magnitude / 256;
    const double signed_value = magnitude / 256.0 - (raw > 0x7FFF ? 2 * integer : 0);
    ASSERT_EQ(static_cast<double>(unpack_signed("sp78", raw)), signed_value) << raw;
  }
}

TEST(UnpackTest, AnotherFixedPointWidthIsUnrecognized) {
  for (const char* type : {"fpc4", "fp1f", "fpf1", "fp79"}) {
    EXPECT_EQ(thrown<SMCException>([&] { unpack(type, 0); }),
              "Unrecognized SMC fixed point integer width")
        << type;
  }
}

TEST(UnpackTest, AnotherSignedPointWidthIsUnrecognized) {
  for (const char* type : {"sp87", "sp0f", "spf0", "sp69"}) {
    const std::string text = "Unrecognized SMC signed fixed point integer width";
    EXPECT_EQ(thrown<SMCException>([&] { unpack_signed(type, 0); }), text) << type;
    EXPECT_EQ(thrown<SMCException>([&] { unpack(type, 0); }), text) << type;
  }
}

TEST(UnpackDeathTest, AnIntegerTypeIsNoFixedPointType) {
  EXPECT_DEATH(unpack("ui16", 0), HasSubstr("Assertion failed: (is_fixed_point(type)), function "
                                            "unpack_fixed_point, file src/SMC.\n"));
}

TEST(UnpackDeathTest, AFixedPointTypeIsNoSignedPointType) {
  EXPECT_DEATH(unpack_signed("fp88", 0),
               HasSubstr("Assertion failed: (is_signed_point(type)), function "
                         "unpack_signed_point, file src/SMC.\n"));
}

class UnpackShortTest : public ControllerTest {};

TEST_F(UnpackShortTest, AShortIsTwoBytesMostSignificantFirst) {
  const SMC smc;
  for (int raw = 0; raw <= 0xFFFF; ++raw) {
    ASSERT_EQ(smc.unpack_short(to_bytes(raw).data()), raw);
  }
}

}  // namespace
