#include <gmock/gmock.h>

#include "SMC/SMC.h"
#include "support/controller_fixture.h"
#include "support/thrown.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FansTest : public ControllerTest {
 protected:
  /// Each request so far: the key's name, and i, r or w for info, read and write.
  std::vector<std::string> transactions() const {
    std::vector<std::string> all;
    for (const SMCParamStruct& request : controller->requests()) {
      const char kind = request.command == 9 ? 'i' : request.command == 5 ? 'r' : 'w';
      all.push_back(SMC::name(request.key) + " " + kind);
    }
    return all;
  }

  template <class Action>
  std::string failure(const Action& action) {
    return thrown<SMCException>([&] { action(smc); });
  }

  // Behind a pointer because its destructor, unlike a fixture's, may throw.
  std::unique_ptr<SMC> connection = std::make_unique<SMC>();
  SMC& smc = *connection;
};

TEST_F(FansTest, EveryFanHasItsBitAndItsMaximumKey) {
  EXPECT_EQ(smc.fan_mask("F0Tg"), 1);
  EXPECT_EQ(smc.fan_mask("F1Tg"), 2);
  EXPECT_EQ(smc.fan_mask("F2Tg"), 4);
  EXPECT_EQ(smc.fan_max("F0Tg"), "F0Mx");
  EXPECT_EQ(smc.fan_max("F1Tg"), "F1Mx");
  EXPECT_EQ(smc.fan_max("F2Tg"), "F2Mx");
  EXPECT_THAT(transactions(), IsEmpty());
}

TEST_F(FansTest, ANameOutsideTheTableIsUnrecognized) {
  for (const std::string name : {"F3Tg", "f0tg", "F0Mx", "", "F0Tg "}) {
    const std::string text = "Unrecognized SMC fan key \"" + name + "\"";
    EXPECT_EQ(failure([&](SMC& s) { s.fan_mask(name); }), text);
    EXPECT_EQ(failure([&](SMC& s) { s.fan_max(name); }), text);
  }
}

TEST_F(FansTest, ForcingAFanSetsItsBitThenItsTarget) {
  controller->set_word("FS! ", 0x0002);
  smc.set_fan("F0Tg", 2000);
  EXPECT_EQ(controller->word("FS! "), 0x0003U);
  EXPECT_EQ(controller->word("F0Tg"), 2000U * 4);
  EXPECT_THAT(transactions(), ElementsAre("FS!  i", "FS!  r", "FS!  w", "F0Tg i", "F0Tg w"));
}

TEST_F(FansTest, GivingAFanBackClearsItsBitAlone) {
  controller->set_word("FS! ", 0x0003);
  controller->set_word("F1Tg", 1234);
  smc.default_fan("F1Tg");
  EXPECT_EQ(controller->word("FS! "), 0x0001U);
  EXPECT_EQ(controller->word("F1Tg"), 1234U);
  EXPECT_THAT(transactions(), ElementsAre("FS!  i", "FS!  r", "FS!  w"));
}

TEST_F(FansTest, GivingAnAutomaticFanBackRewritesTheRegisterUnchanged) {
  controller->set_word("FS! ", 0xFFFB);
  smc.default_fan("F2Tg");
  EXPECT_EQ(controller->word("FS! "), 0xFFFBU);
  EXPECT_THAT(transactions(), ElementsAre("FS!  i", "FS!  r", "FS!  w"));
}

TEST_F(FansTest, TheOtherBitsOfTheRegisterAreKept) {
  controller->set_word("FS! ", 0xF0F0);
  smc.set_fan("F2Tg", 0);
  EXPECT_EQ(controller->word("FS! "), 0xF0F4U);
  smc.default_fan("F2Tg");
  EXPECT_EQ(controller->word("FS! "), 0xF0F0U);
}

TEST_F(FansTest, ASpeedAbove65535IsOutOfRangeAndAsksTheControllerNothing) {
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F0Tg", 65536); }), "Fan \"F0Tg\" speed out of range");
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F3Tg", 4294967295U); }),
            "Fan \"F3Tg\" speed out of range");
  EXPECT_THAT(transactions(), IsEmpty());
}

TEST_F(FansTest, ASpeedOf65535PassesTheRangeTest) {
  // No fixed-point type takes it: the encoder is what refuses it, with the fan already forced.
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F0Tg", 65535); }),
            "Value too large for SMC data type FPe2");
  EXPECT_EQ(controller->word("FS! "), 1U);
}

TEST_F(FansTest, AFanWhoseTargetCannotHoldTheSpeedStaysForcedAtItsPreviousTarget) {
  controller->set_word("F0Tg", 4000);
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F0Tg", 9000); }),
            "Value too large for SMC data type FPe2");
  EXPECT_EQ(controller->word("FS! "), 1U);
  EXPECT_EQ(controller->word("F0Tg"), 4000U);
  EXPECT_THAT(transactions(), ElementsAre("FS!  i", "FS!  r", "FS!  w", "F0Tg i"));
}

TEST_F(FansTest, AnUnknownFanIsFoundOutAfterTheRegisterWasReadAndBeforeItIsWritten) {
  const std::string text = "Unrecognized SMC fan key \"F3Tg\"";
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F3Tg", 2000); }), text);
  EXPECT_THAT(transactions(), ElementsAre("FS!  i", "FS!  r"));
  EXPECT_EQ(failure([](SMC& s) { s.default_fan("F3Tg"); }), text);
  EXPECT_THAT(transactions(), ElementsAre("FS!  i", "FS!  r", "FS!  i", "FS!  r"));
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F3Tg"); }), text);
  EXPECT_EQ(transactions().size(), 4U);
}

TEST_F(FansTest, ForcingAFanToItsMaximumReadsThatFirst) {
  smc.set_fan("F0Tg");
  EXPECT_EQ(controller->word("F0Tg"), 6000U * 4);
  EXPECT_EQ(controller->word("FS! "), 1U);
  EXPECT_THAT(transactions(),
              ElementsAre("F0Mx i", "F0Mx r", "FS!  i", "FS!  r", "FS!  w", "F0Tg i", "F0Tg w"));
}

TEST_F(FansTest, AMaximumIsTruncatedTowardZero) {
  smc.set_fan("F1Tg");  // 6199.75
  EXPECT_EQ(controller->word("F1Tg"), 6199U * 4);
  smc.set_fan("F2Tg");  // 250.5, of another type
  EXPECT_EQ(controller->word("F2Tg"), 250U * 4);
}

TEST_F(FansTest, ANegativeMaximumIsCutToItsLow16Bits) {
  controller->add_key("F0Mx", "sp78", 2, {0x85, 0x00});  // -5
  controller->add_key("F0Tg", "ui16", 2);
  smc.set_fan("F0Tg");
  EXPECT_EQ(controller->word("F0Tg"), 0xFFFBU);
}

TEST_F(FansTest, ForcingAFanToItsMaximumAssertsNothingOfTheTypes) {
  controller->add_key("FS! ", "si16", 2, {0x7F, 0xFE});
  controller->add_key("F0Tg", "ui16", 2);
  smc.set_fan("F0Tg");
  EXPECT_EQ(controller->word("FS! "), 0x7FFFU);
  EXPECT_EQ(controller->word("F0Tg"), 6000U);
  controller->add_key("F0Tg", "si16", 2);
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F0Tg"); }),
            "Value out of range for SMC 16-bit signed int");
}

TEST_F(FansTest, AFailedTransactionPassesThroughAndIsNotRolledBack) {
  controller->answer(4, {kKxReturnSuccess, 1, {}, {}});
  EXPECT_EQ(failure([](SMC& s) { s.set_fan("F0Tg", 2000); }), "SMC result error during write");
  EXPECT_EQ(controller->word("FS! "), 1U);
  controller->answer(1, {kKxReturnIOError, {}, {}, {}});
  EXPECT_EQ(failure([](SMC& s) { s.default_fan("F0Tg"); }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnIOError");
  EXPECT_EQ(controller->word("FS! "), 1U);
}

TEST_F(FansTest, EveryTransactionOfEveryOperationMayFailAndTheCodeComesThrough) {
  const auto fails_at = [&](std::size_t transaction, const auto& operation) {
    controller->answer(transaction, {kKxReturnError, {}, {}, {}});
    return failure(operation);
  };
  const std::string text = "KxConnectMethodStructureIStructureO(): error kKxReturnError";
  for (std::size_t n = 0; n < 5; ++n) {
    EXPECT_EQ(fails_at(n, [](SMC& s) { s.set_fan("F0Tg", 2000); }), text) << n;
  }
  for (std::size_t n = 0; n < 7; ++n) {
    EXPECT_EQ(fails_at(n, [](SMC& s) { s.set_fan("F0Tg"); }), text) << n;
  }
  for (std::size_t n = 0; n < 3; ++n) {
    EXPECT_EQ(fails_at(n, [](SMC& s) { s.default_fan("F0Tg"); }), text) << n;
  }
}

using FansDeathTest = FansTest;

TEST_F(FansDeathTest, TheForceRegisterIsAnUnsignedInteger) {
  controller->add_key("FS! ", "si16", 2);
  EXPECT_DEATH(smc.set_fan("F0Tg", 2000),
               HasSubstr("Assertion failed: (is_unsigned_int(d.info.dataType)), "
                         "function set_fan, file src/SMC, line 94.\n"));
}

TEST_F(FansDeathTest, TheForceRegisterHasATypeOfTwoBytes) {
  controller->add_key("FS! ", "ui32", 2);
  EXPECT_DEATH(smc.set_fan("F0Tg", 2000),
               HasSubstr("Assertion failed: (integer_size(d.info.dataType) == sizeof(uint16_t)), "
                         "function set_fan, file src/SMC, line 95.\n"));
}

TEST_F(FansDeathTest, ATargetIsAFixedPointKey) {
  controller->add_key("F0Tg", "ui16", 2);
  EXPECT_DEATH(smc.set_fan("F0Tg", 2000),
               HasSubstr("Assertion failed: (is_fixed_point(fk.info.dataType)), "
                         "function set_fan, file src/SMC, line 103.\n"));
}

}  // namespace
