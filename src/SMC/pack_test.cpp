#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "SMC/SMC.h"
#include "support/thrown.h"

namespace {

using testing::HasSubstr;

constexpr unsigned char kUntouched = 0xA5;

/// What `pack` writes to the front of a buffer: its bytes in hexadecimal, or its exception's text
/// (and then that it wrote nothing).
template <class Pack>
std::string packed(const Pack& pack) {
  std::array<unsigned char, 32> bytes{};
  bytes.fill(kUntouched);
  const std::string failure = thrown<SMCException>([&] { pack(bytes.data()); });
  std::size_t size = bytes.size();
  while (size > 0 && bytes[size - 1] == kUntouched) {
    --size;
  }
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += "0123456789ABCDEF"[bytes[i] >> 4];
    text += "0123456789ABCDEF"[bytes[i] & 0xF];
  }
  if (failure == "nothing thrown") {
    return text;
  }
  return text.empty() ? failure : "wrote " + text + " before: " + failure;
}

template <class Value>
std::string pack(const char* type, Value value) {
  return packed([&](unsigned char* bytes) { SMC::pack(bytes, value, SMC::key(type)); });
}

template <class Value>
std::string cast(const char* type, Value value) {
  return packed([&](unsigned char* bytes) { SMC::pack_with_cast(bytes, value, SMC::key(type)); });
}

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

constexpr const char* kTooLargeFpe2 = "Value too large for SMC data type FPe2";
constexpr const char* kTooLarge8 = "Value too large for SMC 8-bit unsigned int";
constexpr const char* kTooLarge16 = "Value too large for SMC 16-bit unsigned int";
constexpr const char* kOutOfRange8 = "Value out of range for SMC 8-bit signed int";
constexpr const char* kOutOfRange16 = "Value out of range for SMC 16-bit signed int";
constexpr const char* kNoInteger = "Asked for the size of non-integral/unrecognized type";
constexpr const char* kWidth = "Unrecognized SMC fixed point integer width";

TEST(PackTest, AFloatGoesIntoFpe2) {
  EXPECT_EQ(pack("fpe2", 0.0F), "0000");
  EXPECT_EQ(pack("fpe2", 1500.0F), "1770");
  EXPECT_EQ(pack("fpe2", 0.25F), "0001");
  EXPECT_EQ(pack("fpe2", 0.49F), "0001");
  EXPECT_EQ(pack("fpe2", 8191.0F), "7FFC");
}

TEST(PackTest, AFloatAbove8191IsTooLargeForFpe2) {
  EXPECT_EQ(pack("fpe2", 8191.001F), kTooLargeFpe2);
  EXPECT_EQ(pack("fpe2", 8191.25F), kTooLargeFpe2);
  EXPECT_EQ(pack("fpe2", 16383.75F), kTooLargeFpe2);
  EXPECT_EQ(pack("fpe2", kInfinity), kTooLargeFpe2);
}

TEST(PackTest, ANegativeFloatLeavesItsLow16BitsInFpe2) {
  EXPECT_EQ(pack("fpe2", -0.25F), "FFFF");
  EXPECT_EQ(pack("fpe2", -1.0F), "FFFC");
  EXPECT_EQ(pack("fpe2", -0.1F), "0000");
  EXPECT_EQ(pack("fpe2", -16384.25F), "FFFF");
}

TEST(PackTest, WhatNoIntHoldsSaturatesInFpe2AndNotANumberIsZero) {
  EXPECT_EQ(pack("fpe2", -1e30F), "0000");  // the low bits of -2^31
  EXPECT_EQ(pack("fpe2", -kInfinity), "0000");
  EXPECT_EQ(pack("fpe2", kNaN), "0000");
}

TEST(PackTest, NoOtherPointTypeTakesAFloat) {
  EXPECT_EQ(pack("fp88", 1.0F), kWidth);
  EXPECT_EQ(pack("sp78", 1.0F), kWidth);
  EXPECT_EQ(pack("fpc4", 1.0F), kWidth);
  EXPECT_EQ(pack("fpE2", 1.0F), "Cannot parse hex integer");
}

TEST(PackTest, Fpe2GivesBackEveryQuarterUpToItsLimit) {
  for (int quarters = 0; quarters <= 8191 * 4; ++quarters) {
    std::array<unsigned char, 2> bytes{};
    const float value = static_cast<float>(quarters) / 4.0F;
    for (const float within : {0.0F, 0.2F}) {
      if (value + within <= 8191.0F) {
        SMC::pack(bytes.data(), value + within, SMC::key("fpe2"));
        ASSERT_EQ(SMC::unpack_fixed_point(bytes.data(), SMC::key("fpe2")), value);
      }
    }
  }
}

TEST(PackTest, AnUnsignedIntFitsItsTypeOrIsTooLarge) {
  EXPECT_EQ(pack("ui8 ", 0U), "00");
  EXPECT_EQ(pack("ui8 ", 255U), "FF");
  EXPECT_EQ(pack("ui8 ", 256U), kTooLarge8);
  EXPECT_EQ(pack("ui16", 0x0102U), "0102");
  EXPECT_EQ(pack("ui16", 65535U), "FFFF");
  EXPECT_EQ(pack("ui16", 65536U), kTooLarge16);
  EXPECT_EQ(pack("ui32", 0x01020304U), "01020304");
  EXPECT_EQ(pack("ui32", 4294967295U), "FFFFFFFF");
}

TEST(PackTest, AnUnsignedIntIsEncodedByTheSizeOfASignedTypeToo) {
  EXPECT_EQ(pack("si8 ", 255U), "FF");
  EXPECT_EQ(pack("si8 ", 256U), kTooLarge8);
  EXPECT_EQ(pack("si16", 65535U), "FFFF");
  EXPECT_EQ(pack("si32", 4294967295U), "FFFFFFFF");
}

TEST(PackTest, ASignedIntFitsItsTypeOrIsOutOfRange) {
  EXPECT_EQ(pack("si8 ", -129), kOutOfRange8);
  EXPECT_EQ(pack("si8 ", -128), "80");
  EXPECT_EQ(pack("si8 ", -1), "FF");
  EXPECT_EQ(pack("si8 ", 127), "7F");
  EXPECT_EQ(pack("si8 ", 128), kOutOfRange8);
  EXPECT_EQ(pack("si32", kIntMin), "80000000");
  EXPECT_EQ(pack("si32", -2), "FFFFFFFE");
  EXPECT_EQ(pack("si32", kIntMax), "7FFFFFFF");
}

TEST(PackTest, ASignedIntIsEncodedByTheSizeOfAnUnsignedTypeToo) {
  EXPECT_EQ(pack("ui8 ", -1), "FF");
  EXPECT_EQ(pack("ui8 ", 128), kOutOfRange8);
  EXPECT_EQ(pack("ui16", 100), kOutOfRange16);
  EXPECT_EQ(pack("ui16", 32767), "7FFF");
  EXPECT_EQ(pack("ui32", -1), "FFFFFFFF");
}

TEST(PackTest, Si16TakesNoValueBut32767) {
  EXPECT_EQ(pack("si16", 100), kOutOfRange16);
  for (int value = -70'000; value <= 70'000; ++value) {
    ASSERT_EQ(pack("si16", value), value == 32767 ? "7FFF" : kOutOfRange16) << value;
  }
  EXPECT_EQ(pack("si16", kIntMin), kOutOfRange16);
  EXPECT_EQ(pack("si16", kIntMax), kOutOfRange16);
}

TEST(PackTest, AnIntegerGoesIntoAnIntegerTypeOnly) {
  for (const char* type : {"fpe2", "sp78", "ui64", "flag"}) {
    EXPECT_EQ(pack(type, 1), kNoInteger) << type;
    EXPECT_EQ(pack(type, 1U), kNoInteger) << type;
  }
}

TEST(PackTest, SmallIntegersReadBackAsTheyWerePacked) {
  std::array<unsigned char, 2> bytes{};
  for (unsigned int value = 0; value <= 65535; ++value) {
    SMC::pack(bytes.data(), value, SMC::key("ui16"));
    ASSERT_EQ(bytes[0] * 256U + bytes[1], value);
  }
  for (unsigned int value = 0; value <= 255; ++value) {
    SMC::pack(bytes.data(), value, SMC::key("ui8 "));
    ASSERT_EQ(bytes[0], value);
  }
  for (int value = -128; value <= 127; ++value) {
    SMC::pack(bytes.data(), value, SMC::key("si8 "));
    ASSERT_EQ(static_cast<signed char>(bytes[0]), value);
  }
}

/// Every 32-bit range in strides, with its boundaries and the powers of two and random values.
std::vector<std::uint32_t> samples_of_32_bits() {
  std::vector<std::uint32_t> samples{0xFFFFFFFF, 0x7FFFFFFF};
  for (std::uint64_t value = 0; value <= 0xFFFFFFFF; value += 65'521) {
    samples.push_back(static_cast<std::uint32_t>(value));
  }
  for (int bit = 0; bit < 32; ++bit) {
    samples.push_back(1U << bit);
    samples.push_back((1U << bit) - 1);
  }
  std::mt19937 random(7);
  for (int i = 0; i < 100'000; ++i) {
    samples.push_back(static_cast<std::uint32_t>(random()));
  }
  return samples;
}

TEST(PackTest, LargeIntegersReadBackAsTheyWerePacked) {
  const auto read = [](const std::array<unsigned char, 4>& b) {
    return ((b[0] * 256U + b[1]) * 256U + b[2]) * 256U + b[3];
  };
  for (const std::uint32_t value : samples_of_32_bits()) {
    std::array<unsigned char, 4> bytes{};
    SMC::pack(bytes.data(), value, SMC::key("ui32"));
    ASSERT_EQ(read(bytes), value);
    bytes = {};
    SMC::pack(bytes.data(), static_cast<int>(value), SMC::key("si32"));
    ASSERT_EQ(read(bytes), value);
  }
}

TEST(PackWithCastTest, AFloatForAnUnsignedTypeIsTruncatedAndSaturates) {
  EXPECT_EQ(cast("ui8 ", -5.0F), "00");
  EXPECT_EQ(cast("ui8 ", 255.9F), "FF");
  EXPECT_EQ(cast("ui8 ", 300.0F), kTooLarge8);
  EXPECT_EQ(cast("ui16", 65535.5F), "FFFF");
  EXPECT_EQ(cast("ui16", 65536.0F), kTooLarge16);
  EXPECT_EQ(cast("ui32", -kInfinity), "00000000");
  EXPECT_EQ(cast("ui32", 4294967040.0F), "FFFFFF00");
  EXPECT_EQ(cast("ui32", 4294967296.0F), "FFFFFFFF");
  EXPECT_EQ(cast("ui32", kInfinity), "FFFFFFFF");
  EXPECT_EQ(cast("ui32", kNaN), "00000000");
}

TEST(PackWithCastTest, AFloatForASignedTypeIsTruncatedAndSaturates) {
  EXPECT_EQ(cast("si8 ", -5.9F), "FB");
  EXPECT_EQ(cast("si8 ", 128.0F), kOutOfRange8);
  EXPECT_EQ(cast("si16", 32767.9F), "7FFF");
  EXPECT_EQ(cast("si16", 100.0F), kOutOfRange16);
  EXPECT_EQ(cast("si32", 1e30F), "7FFFFFFF");
  EXPECT_EQ(cast("si32", -1e30F), "80000000");
  EXPECT_EQ(cast("si32", kNaN), "00000000");
}

TEST(PackWithCastTest, AFloatForAFixedPointTypeIsPackedAsItIs) {
  EXPECT_EQ(cast("fpe2", 0.75F), "0003");
  EXPECT_EQ(cast("fpe2", 8191.25F), kTooLargeFpe2);
  EXPECT_EQ(cast("fp88", 1.0F), kWidth);
}

TEST(PackWithCastTest, AnIntForAnUnsignedTypeIsTakenByItsBits) {
  EXPECT_EQ(cast("ui8 ", 255), "FF");
  EXPECT_EQ(cast("ui8 ", -1), kTooLarge8);
  EXPECT_EQ(cast("ui16", 65535), "FFFF");
  EXPECT_EQ(cast("ui16", -1), kTooLarge16);
  EXPECT_EQ(cast("ui32", -1), "FFFFFFFF");
}

TEST(PackWithCastTest, AnIntForASignedTypeIsPackedAsItIs) {
  EXPECT_EQ(cast("si8 ", -1), "FF");
  EXPECT_EQ(cast("si16", -1), kOutOfRange16);
  EXPECT_EQ(cast("si32", -1), "FFFFFFFF");
}

TEST(PackWithCastTest, AnIntForAFixedPointTypeBecomesAFloat) {
  EXPECT_EQ(cast("fpe2", 1500), "1770");
  EXPECT_EQ(cast("fpe2", -1), "FFFC");
  EXPECT_EQ(cast("fpe2", 8192), kTooLargeFpe2);
  EXPECT_EQ(cast("fpe2", kIntMin), "0000");
  EXPECT_EQ(cast("fp88", 1), kWidth);
}

TEST(PackWithCastTest, AnUnsignedIntForAnUnsignedTypeIsPackedAsItIs) {
  EXPECT_EQ(cast("ui8 ", 255U), "FF");
  EXPECT_EQ(cast("ui8 ", 256U), kTooLarge8);
  EXPECT_EQ(cast("ui32", 4294967295U), "FFFFFFFF");
}

TEST(PackWithCastTest, AnUnsignedIntForASignedTypeIsTakenByItsBits) {
  EXPECT_EQ(cast("si8 ", 4294967295U), "FF");
  EXPECT_EQ(cast("si8 ", 128U), kOutOfRange8);
  EXPECT_EQ(cast("si16", 32767U), "7FFF");
  EXPECT_EQ(cast("si32", 0x80000000U), "80000000");
}

TEST(PackWithCastTest, AnUnsignedIntForAFixedPointTypeBecomesAPositiveFloat) {
  EXPECT_EQ(cast("fpe2", 1500U), "1770");
  EXPECT_EQ(cast("fpe2", 0x80000000U), kTooLargeFpe2);
  EXPECT_EQ(cast("fpe2", 4294967295U), kTooLargeFpe2);
  EXPECT_EQ(cast("fp88", 1U), kWidth);
}

TEST(PackWithCastTest, ATypeOfNoOtherFamilyIsUnrecognizedAndToldInHexadecimal) {
  EXPECT_EQ(cast("sp78", 1.0F), "Unrecognized SMC data type 73703738");
  EXPECT_EQ(cast("sp78", 1), "Unrecognized SMC data type 73703738");
  EXPECT_EQ(cast("sp78", 1U), "Unrecognized SMC data type 73703738");
  EXPECT_EQ(cast("flag", 1), "Unrecognized SMC data type 666c6167");
  EXPECT_EQ(packed([](unsigned char* bytes) { SMC::pack_with_cast(bytes, 1, 0xAB); }),
            "Unrecognized SMC data type ab");
}

TEST(PackWithCastTest, AnUnknownIntegerTypeOfAFamilyHasNoSize) {
  EXPECT_EQ(cast("ui64", 1), kNoInteger);
  EXPECT_EQ(cast("si64", 1.0F), kNoInteger);
}

TEST(PackDeathTest, AFloatGoesIntoAPointTypeOnly) {
  EXPECT_DEATH(pack("ui16", 1.0F),
               HasSubstr("Assertion failed: (is_fixed_point(type) || is_signed_point(type)), "
                         "function fixed_point_integer_width, file src/SMC.\n"));
}

}  // namespace
