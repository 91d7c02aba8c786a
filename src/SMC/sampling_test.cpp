#include <gmock/gmock.h>

#include <list>

#include "SMC/SMC.h"
#include "support/controller_fixture.h"
#include "support/thrown.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Names = std::list<std::string>;

class SamplingTest : public ControllerTest {
 protected:
  SamplingTest() {
    controller->set_word("F0Tg", 2000 * 4);
    controller->set_word("F1Tg", 3000 * 4);
  }

  static std::string failure_to_construct(const Names& names) {
    return thrown<SMCException>([&] { const SMC smc(names); });
  }

  std::list<float> samples{1.0F, 2.0F, 3.0F, 4.0F};
};

TEST_F(SamplingTest, ASampleHasOneValueForEachKeyInTheirOrder) {
  SMC smc(Names{"PC0C", "F0Tg", "F1Tg"});
  smc.sample(samples);
  EXPECT_THAT(samples, ElementsAre(40.5F, 2000.0F, 3000.0F));
  controller->set_word("PC0C", 0x0180);
  smc.sample(samples);
  EXPECT_THAT(samples, ElementsAre(1.5F, 2000.0F, 3000.0F));
}

TEST_F(SamplingTest, KeysAreResolvedOnceAndReadOncePerSample) {
  SMC smc(Names{"PC0C", "TC0D"});
  EXPECT_EQ(controller->requests().size(), 2U);
  smc.sample(samples);
  smc.sample(samples);
  const auto requests = controller->requests();
  ASSERT_EQ(requests.size(), 6U);
  for (std::size_t i = 2; i < 6; ++i) {
    SMCParamStruct expected{};
    expected.key = FakeController::code(i % 2 == 0 ? "PC0C" : "TC0D");
    expected.info = {2, FakeController::code(i % 2 == 0 ? "fp88" : "sp78"), 0};
    expected.command = 5;
    EXPECT_EQ(hex(requests[i]), hex(expected)) << i;
  }
}

TEST_F(SamplingTest, AnEmptyListOfNamesGivesEmptySamples) {
  SMC smc{Names{}};
  smc.sample(samples);
  EXPECT_THAT(samples, IsEmpty());
}

TEST_F(SamplingTest, ADefaultObjectHasNoSampledKeys) {
  SMC smc;
  smc.sample(samples);
  EXPECT_THAT(samples, IsEmpty());
}

TEST_F(SamplingTest, ANameListedTwiceIsSampledTwice) {
  SMC smc(Names{"TC0D", "PC0C", "TC0D"});
  smc.sample(samples);
  EXPECT_THAT(samples, ElementsAre(42.25F, 40.5F, 42.25F));
}

TEST_F(SamplingTest, AFailureOnTheSecondOfThreeKeysLeavesExactlyOneValue) {
  SMC smc(Names{"PC0C", "F0Tg", "F1Tg"});
  controller->answer(1, {kKxReturnIOError, {}, {}, {}});
  EXPECT_EQ(thrown<SMCException>([&] { smc.sample(samples); }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnIOError");
  EXPECT_THAT(samples, ElementsAre(40.5F));
}

TEST_F(SamplingTest, AKeyOfAWidthThatIsNotReadFailsInSamplingNotInConstruction) {
  controller->add_key("PC1C", "fpc4", 2);
  SMC smc(Names{"PC0C", "PC1C", "TC0D"});
  EXPECT_EQ(thrown<SMCException>([&] { smc.sample(samples); }),
            "Unrecognized SMC fixed point integer width");
  EXPECT_THAT(samples, ElementsAre(40.5F));
}

// The oddity in these three: what was opened before the name failed stays open.
TEST_F(SamplingTest, AMalformedNameFailsInConstructionAndLeavesTheConnectionOpen) {
  EXPECT_EQ(failure_to_construct({"PC0C", "PC0"}), "Malformed SMC key \"PC0\"");
  EXPECT_EQ(controller->scalar_calls().size(), 1U);  // no close hand-shake
  objects_left_over = 1;
}

TEST_F(SamplingTest, AnUnknownKeyFailsInConstructionAndLeavesTheConnectionOpen) {
  EXPECT_EQ(failure_to_construct({"PC0C", "TXXX"}),
            "Expected data size 2 for SMC key \"TXXX\", instead got 0");
  objects_left_over = 1;
}

TEST_F(SamplingTest, AFailedKeyInfoFailsInConstructionAndLeavesTheConnectionOpen) {
  controller->answer(1, {kKxReturnNotPermitted, {}, {}, {}});
  EXPECT_EQ(failure_to_construct({"PC0C", "TC0D"}),
            "KxConnectMethodStructureIStructureO(): error kKxReturnNotPermitted");
  objects_left_over = 1;
}

TEST_F(SamplingTest, ARefusedConnectionFailsInConstructionAndLeavesNothing) {
  controller->open_returns = kKxReturnNotPermitted;
  EXPECT_EQ(failure_to_construct({"PC0C"}), "KxServiceOpen(): error kKxReturnNotPermitted");
}

using SamplingDeathTest = SamplingTest;

TEST_F(SamplingDeathTest, SamplingAnIntegerKeyAborts) {
  SMC smc(Names{"MSW2"});
  EXPECT_DEATH(smc.sample(samples), HasSubstr("Assertion failed: (is_fixed_point(type)), function "
                                              "unpack_fixed_point, file src/SMC.\n"));
}

}  // namespace
