#include "machines/simulated/keys.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace simulated {
namespace {

const Key& key(const char (&name)[5]) {
  const Key* found = find_key(four_characters(name));
  EXPECT_NE(found, nullptr) << name;
  return *found;
}

TEST(Keys, CodeHoldsTheFirstCharacterInItsHighestByte) {
  EXPECT_EQ(four_characters("F0Tg"), 0x46305467U);
  EXPECT_EQ(four_characters("FS! "), 0x46532120U);
}

TEST(Keys, UnknownCodeHasNoKey) {
  EXPECT_EQ(find_key(four_characters("F3Tg")), nullptr);
  EXPECT_EQ(find_key(four_characters("f0tg")), nullptr);
  EXPECT_EQ(find_key(0), nullptr);
}

TEST(Keys, NoCodeIsGivenTwice) {
  std::set<std::uint32_t> codes;
  for (const Key& k : all_keys()) {
    EXPECT_TRUE(codes.insert(k.code).second) << k.code;
  }
}

struct TypedKeys {
  const char* type;
  std::uint32_t size;
  std::vector<std::string> names;
};

TEST(Keys, EveryKeyHasItsType) {
  const TypedKeys expected[] = {
      {"fp88", 2, {"PC0C"}},
      {"sp78", 2, {"TC0D", "TC0P", "TA0P"}},
      {"ui16", 2, {"FS! "}},
      {"fpe2",
       2,
       {"F0Tg", "F1Tg", "F2Tg", "F0Mx", "F1Mx", "F2Mx", "F0Mn", "F1Mn", "F2Mn", "F0Ac", "F1Ac",
        "F2Ac"}},
      {"ui8 ", 1, {"FCnt"}},
      {"ui32", 4, {"Uptm"}},
  };
  std::size_t count = 0;
  const auto code = [](const std::string& name) {
    return four_characters({name[0], name[1], name[2], name[3], 0});
  };
  for (const TypedKeys& typed : expected) {
    for (const std::string& name : typed.names) {
      const Key* found = find_key(code(name));
      ASSERT_NE(found, nullptr) << name;
      EXPECT_EQ(found->type.code, code(typed.type)) << name;
      EXPECT_EQ(found->type.size, typed.size) << name;
      ++count;
    }
  }
  EXPECT_EQ(count, all_keys().size());
}

TEST(Keys, OnlyTheForceRegisterAndTheTargetsCanBeWritten) {
  std::set<std::uint32_t> writable;
  for (const Key& k : all_keys()) {
    if (k.assign != nullptr) {
      writable.insert(k.code);
    }
  }
  EXPECT_EQ(writable, (std::set<std::uint32_t>{four_characters("FS! "), four_characters("F0Tg"),
                                               four_characters("F1Tg"), four_characters("F2Tg")}));
}

TEST(Keys, Fp88IsInStepsOfA256thUpTo256) {
  const ValueType& type = key("PC0C").type;
  EXPECT_EQ(type.encode(40.5), 0x2880U);
  EXPECT_EQ(type.encode(0.001), 0U);
  EXPECT_EQ(type.encode(255.99609375), 0xFFFFU);
  EXPECT_EQ(type.encode(300), 0xFFFFU);
  EXPECT_EQ(type.encode(-1), 0U);
}

TEST(Keys, Sp78IsIn256thsAndHeldAtItsEnd) {
  const ValueType& type = key("TC0D").type;
  EXPECT_EQ(type.encode(25), 0x1900U);
  EXPECT_EQ(type.encode(127.99609375), 0x7FFFU);
  EXPECT_EQ(type.encode(150), 0x7FFFU);
}

TEST(Keys, Fpe2IsInQuarters) {
  const ValueType& type = key("F0Tg").type;
  EXPECT_EQ(type.encode(1500), 0x1770U);
  EXPECT_EQ(type.decode(0x1770), 1500);
  EXPECT_EQ(type.decode(0x0001), 0.25);
  EXPECT_EQ(type.decode(0xFFFF), 16383.75);
}

TEST(Keys, EveryStepOfEveryWritableTypeComesBackAsItWasWritten) {
  for (const Key& k : all_keys()) {
    if (k.assign != nullptr) {
      for (std::uint32_t steps = 0; steps <= k.type.most_steps; ++steps) {
        ASSERT_EQ(k.type.encode(k.type.decode(steps)), steps);
      }
    }
  }
}

TEST(Keys, ValuesAreThoseOfTheModel) {
  Model model;
  model.advance(3'400'000'000, 0.8);
  model.fans().set_target_rpm(1, 1234.25);
  model.fans().set_force_bits(0x8005);
  EXPECT_EQ(key("PC0C").value(model), model.power_w());
  EXPECT_EQ(key("TC0D").value(model), model.die_c());
  EXPECT_EQ(key("TC0P").value(model), model.sink_c());
  EXPECT_EQ(key("TA0P").value(model), 25);
  EXPECT_EQ(key("F0Ac").value(model), model.fans().speed_rpm(0));
  EXPECT_EQ(key("F1Ac").value(model), model.fans().speed_rpm(1));
  EXPECT_EQ(key("F2Ac").value(model), model.fans().speed_rpm(2));
  EXPECT_EQ(key("F1Tg").value(model), 1234.25);
  EXPECT_EQ(key("F0Mx").value(model), 5200);
  EXPECT_EQ(key("F1Mx").value(model), 4400);
  EXPECT_EQ(key("F2Mx").value(model), 3800);
  EXPECT_EQ(key("F0Mn").value(model), 800);
  EXPECT_EQ(key("F1Mn").value(model), 600);
  EXPECT_EQ(key("F2Mn").value(model), 600);
  EXPECT_EQ(key("FS! ").value(model), 0x8005);
  EXPECT_EQ(key("FCnt").value(model), 3);
  EXPECT_EQ(key("Uptm").value(model), 3);
}

TEST(Keys, WrittenValuesReachTheModel) {
  Model model;
  key("F0Tg").assign(model, 1000);
  key("F1Tg").assign(model, 2000);
  key("F2Tg").assign(model, 3000);
  key("FS! ").assign(model, 0xFFFF);
  EXPECT_EQ(model.fans().target_rpm(0), 1000);
  EXPECT_EQ(model.fans().target_rpm(1), 2000);
  EXPECT_EQ(model.fans().target_rpm(2), 3000);
  EXPECT_EQ(model.fans().force_bits(), 0xFFFF);
}

}  // namespace
}  // namespace simulated
