#include "vorn/fans.h"

#include <chrono>
#include <thread>

#include "support/machine_fixture.h"
#include "support/slow_controller.h"
#include "vorn/settings.h"

namespace {

using Fans = MachineFixture;
using Words = std::vector<unsigned>;

TEST_F(Fans, AreForcedToTheirSpeedInTheOrderGiven) {
  EXPECT_EQ(set_fans({"F0Tg", "F1Tg"}, 1500), 0);
  EXPECT_EQ(controller->word("FS! "), 3U);
  EXPECT_EQ(controller->word("F0Tg"), 1500U * 4);
  EXPECT_EQ(controller->word("F1Tg"), 1500U * 4);
  EXPECT_EQ(written_to("FS! "), (Words{1, 3}));
}

TEST_F(Fans, AreForcedToTheirOwnMaximum) {
  EXPECT_EQ(set_fans({"F0Tg", "F1Tg"}, kMaximumSpeed), 0);
  EXPECT_EQ(controller->word("F0Tg"), 6000U * 4);
  EXPECT_EQ(controller->word("F1Tg"), 6199U * 4);
}

TEST_F(Fans, ASpeedOfZeroIsARealTarget) {
  controller->set_word("F0Tg", 4000);
  EXPECT_EQ(set_fans({"F0Tg"}, 0), 0);
  EXPECT_EQ(controller->word("FS! "), 1U);
  EXPECT_EQ(controller->word("F0Tg"), 0U);
}

TEST_F(Fans, AnUnknownNameFailsThereAndKeepsWhatWasWritten) {
  int result = 0;
  EXPECT_EQ(printed_by([&] {
              result = set_fans({"F0Tg", "F3Tg", "F1Tg"}, 1500);
            }),
            "Unrecognized SMC fan key \"F3Tg\"\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(controller->word("FS! "), 1U);
  EXPECT_EQ(controller->word("F1Tg"), 0U);
  EXPECT_EQ(kx::live_objects(), 0U);
}

TEST_F(Fans, ASpeedBeyond65535FailsBeforeAnythingIsAsked) {
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = set_fans({"F0Tg"}, 65536); }),
            "Fan \"F0Tg\" speed out of range\n");
  EXPECT_EQ(result, -1);
  EXPECT_TRUE(controller->requests().empty());
}

TEST_F(Fans, AreGivenBackAndThatIsSaid) {
  controller->set_word("FS! ", 7);
  int result = -1;
  EXPECT_EQ(printed_by([&] { result = restore_fans({"F0Tg", "F1Tg"}); }), "Fans restored\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(controller->word("FS! "), 4U);
}

TEST_F(Fans, AreLeftAloneByAWaveOnceTheRunHasEnded) {
  params.terminate = true;
  EXPECT_EQ(set_fans_in_run({"F0Tg"}, 0), 0);
  EXPECT_TRUE(controller->requests().empty()) << "nothing may be written";
}

// A step that is under way when the run ends is finished first, and not followed by another.
TEST_F(Fans, AreGivenBackAfterAStepThatIsUnderWay) {
  const int first_write = 2;  // of the force register, after its info and its read
  kx::install_machine(
      {{std::make_shared<SlowController>(controller, first_write, std::chrono::milliseconds(100)),
        {}}});
  std::thread wave([] { EXPECT_EQ(set_fans_in_run({"F0Tg"}, 0), 0); });
  while (controller->requests().size() < 2) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  params.terminate = true;
  printed_by([] { restore_fans({"F0Tg"}); });
  wave.join();
  EXPECT_EQ(controller->word("FS! "), 0U);
}

TEST_F(Fans, AreNotSaidToBeRestoredIfOneIsNot) {
  int result = 0;
  EXPECT_EQ(printed_by([&] {
              result = restore_fans({"F0Tg", "F3Tg"});
            }),
            "Unrecognized SMC fan key \"F3Tg\"\n");
  EXPECT_EQ(result, -1);
}

TEST_F(Fans, WithoutAServiceFailWithItsLookUp) {
  kx::install_machine({});
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = set_fans({"F0Tg"}, 1500); }),
            "KxIteratorNext() returned NULL\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(printed_by([&] { result = restore_fans({"F0Tg"}); }),
            "KxIteratorNext() returned NULL\n");
  EXPECT_EQ(result, -1);
}

TEST_F(Fans, ACloseThatIsRefusedIsAFailureToo) {
  controller->scalar_returns[1] = kKxReturnIOError;
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = set_fans({"F0Tg"}, 1500); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnIOError\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(printed_by([&] { result = restore_fans({"F0Tg"}); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnIOError\n");
  EXPECT_EQ(result, -1);
}

// Its transaction fails, and then its close: only the first is reported, and the run goes on.
TEST_F(Fans, AControllerThatGoesAwayIsAFailureLikeAnyOther) {
  controller->scalar_returns[1] = kKxReturnIOError;
  controller->answer(0, {kKxReturnIOError, {}, {}, {}});
  int result = 0;
  EXPECT_EQ(printed_by([&] { result = set_fans({"F0Tg"}, 1500); }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnIOError\n");
  EXPECT_EQ(result, -1);
}

}  // namespace
