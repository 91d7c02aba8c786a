#include "machines/controller/value_type.h"

#include <gtest/gtest.h>

#include "SMC/SMC.h"

namespace controller {
namespace {

float decoded_by_client(const ValueType& type, double value) {
  const std::uint32_t stored = type.encode(value);
  const unsigned char bytes[] = {static_cast<unsigned char>(stored >> 8U),
                                 static_cast<unsigned char>(stored & 0xFFU)};
  return SMC::unpack_fixed_point(bytes, type.code);
}

TEST(ValueType, WhatItStoresIsWhatTheClientReads) {
  for (const double value : {0.0, 0.25, 1.0, 40.5, 126.75, 12.0078125}) {
    EXPECT_EQ(decoded_by_client(kSp78, value), static_cast<float>(value));
    EXPECT_EQ(decoded_by_client(kFp88, value), static_cast<float>(value));
    EXPECT_EQ(kSp78.decode(kSp78.encode(value)), value);
  }
  EXPECT_EQ(decoded_by_client(kFpe2, 1500.25), 1500.25F);
}

TEST(ValueType, ASignIsTheIntegerPartsAlone) {
  EXPECT_EQ(kSp78.encode(-0.5), 0x8180U);
  EXPECT_EQ(kSp78.encode(-1.0), 0x8100U);
  for (const double value : {-0.25, -0.5, -1.0, -20.125, -126.5}) {
    EXPECT_EQ(decoded_by_client(kSp78, value), static_cast<float>(value));
    EXPECT_EQ(kSp78.decode(kSp78.encode(value)), value);
  }
}

TEST(ValueType, WhatItCannotHoldIsHeldAtTheEnd) {
  EXPECT_EQ(kFp88.encode(300.0), 0xFFFFU);
  EXPECT_EQ(kFp88.encode(-1.0), 0U);
  EXPECT_EQ(kSp78.encode(1000.0), 0x7FFFU);
  for (const double value : {-127.0, -127.25, -127.5, -127.99, -128.0, -1000.0}) {
    EXPECT_EQ(kSp78.encode(value), 0xFF00U) << value;
  }
  EXPECT_EQ(kUi8.encode(256.0), 0xFFU);
}

}  // namespace
}  // namespace controller
