#include "engine/instant.h"

#include <gtest/gtest.h>

namespace engine {
namespace {

std::int64_t instant_of(const char* text) {
  const auto parsed = parse_instant(text);
  EXPECT_TRUE(parsed.value) << text << ": " << parsed.refused;
  return parsed.value.value_or(-1);
}

std::string refusal_of_instant(const char* text) {
  const auto parsed = parse_instant(text);
  EXPECT_FALSE(parsed.value) << text;
  return parsed.refused;
}

TEST(Instant, IsReadAsSecondsSince1970) {
  EXPECT_EQ(instant_of("0"), 0);
  EXPECT_EQ(instant_of("1795271100"), 1795271100000000000);
  EXPECT_EQ(instant_of("1795271100.5"), 1795271100500000000);
  EXPECT_EQ(instant_of("1795271100.000000001"), 1795271100000000001);
}

TEST(Instant, IsReadAsADateWithATime) {
  EXPECT_EQ(instant_of("1970-01-01T00:00:00Z"), 0);
  EXPECT_EQ(instant_of("2026-11-21T14:25:00Z"), 1795271100000000000);
  EXPECT_EQ(instant_of("2026-11-21t14:25:00z"), 1795271100000000000);
  EXPECT_EQ(instant_of("2026-11-21 14:25:00Z"), 1795271100000000000);
  EXPECT_EQ(instant_of("2024-02-29T23:59:59.25Z"), 1709251199250000000);
}

TEST(Instant, AnOffsetIsTakenFromIt) {
  EXPECT_EQ(instant_of("2026-11-21T15:25:00+01:00"), 1795271100000000000);
  EXPECT_EQ(instant_of("2026-11-21T08:55:00.125-05:30"), 1795271100125000000);
  EXPECT_EQ(instant_of("2026-11-21T14:25:00-00:00"), 1795271100000000000);
}

TEST(Instant, ALeapSecondIsRefusedForItsReason) {
  EXPECT_EQ(refusal_of_instant("2016-12-31T23:59:60Z"),
            "a leap second is no instant of the host's clock");
}

TEST(Instant, WhatIsOnNoCalendarOrClockIsRefused) {
  EXPECT_EQ(refusal_of_instant("2026-02-29T00:00:00Z"), "its date is in no calendar");
  EXPECT_EQ(refusal_of_instant("2026-13-01T00:00:00Z"), "its date is in no calendar");
  EXPECT_EQ(refusal_of_instant("2026-11-00T00:00:00Z"), "its date is in no calendar");
  EXPECT_EQ(refusal_of_instant("2026-11-21T24:00:00Z"), "its time is on no clock");
  EXPECT_EQ(refusal_of_instant("2026-11-21T14:60:00Z"), "its time is on no clock");
  EXPECT_EQ(refusal_of_instant("2026-11-21T14:00:61Z"), "its time is on no clock");
}

TEST(Instant, AMissingOffsetIsRefusedSinceMachinesDifferInTheirZones) {
  EXPECT_EQ(refusal_of_instant("2026-11-21T14:25:00"),
            "its offset from UTC is missing: Z, or as in +01:00");
  EXPECT_EQ(refusal_of_instant("2026-11-21T14:25:00+1"),
            "its offset from UTC is not written +HH:MM");
  EXPECT_EQ(refusal_of_instant("2026-11-21T14:25:00+24:00"),
            "its offset from UTC is not written +HH:MM");
}

TEST(Instant, MoreThanNineDigitsBehindThePointAreRefused) {
  const char* const why = "more than nine digits stand behind the point";
  EXPECT_EQ(refusal_of_instant("1795271100.0000000001"), why);
  EXPECT_EQ(refusal_of_instant("2026-11-21T14:25:00.0000000000Z"), why);
}

TEST(Instant, LiesBetweenTheYearsThatTheNanosecondsHold) {
  EXPECT_EQ(instant_of("2261-12-31T23:59:59.999999999Z"), 9214646399999999999);
  EXPECT_EQ(instant_of("9214646399"), 9214646399000000000);
  const char* const why = "it is not between the years 1970 and 2261";
  EXPECT_EQ(refusal_of_instant("9214646400"), why);
  EXPECT_EQ(refusal_of_instant("9999999999"), why);
  EXPECT_EQ(refusal_of_instant("2262-01-01T00:00:00Z"), why);
  EXPECT_EQ(refusal_of_instant("2261-12-31T23:59:59-01:00"), why);
  EXPECT_EQ(refusal_of_instant("1969-12-31T23:59:59Z"), why);
  EXPECT_EQ(refusal_of_instant("1970-01-01T00:00:00+01:00"), why);
}

TEST(Instant, WhatIsNotWholeIsRefused) {
  for (const char* text :
       {"", "now", "+5", "1e9", "0x10", "1795271100 ", "1795271100.", ".5", "2026-11-21",
        "2026-11-21T14:25Z", "2026-11-21T14:25:00Zulu", "26-11-21T14:25:00Z", "2026-11-21T1:25:00Z",
        "2026-11-21T14:25:0Z", "2026-11-21T14:25:00.Z", "-1", "99999999999999999999"}) {
    EXPECT_NE(refusal_of_instant(text), "") << text;
  }
}

}  // namespace
}  // namespace engine
