#include <gmock/gmock.h>

#include <type_traits>

#include "Kx/Kx.h"
#include "SMC/SMC.h"
#include "support/controller_fixture.h"
#include "support/thrown.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

static_assert(!std::is_polymorphic_v<SMC> && !std::is_copy_constructible_v<SMC>);

class ConnectionTest : public ControllerTest {
 protected:
  static std::string failure_to_connect() {
    return thrown<SMCException>([] { const SMC smc; });
  }
};

TEST_F(ConnectionTest, AnObjectOpensAConnectionOfType1AndShakesHandsAtBothEnds) {
  {
    const SMC smc;
    EXPECT_THAT(controller->opens(), ElementsAre(1));
    EXPECT_THAT(controller->scalar_calls(), ElementsAre(kSMCSelectorOpen));
    EXPECT_EQ(kx::live_objects(), 1U);
  }
  EXPECT_THAT(controller->scalar_calls(), ElementsAre(kSMCSelectorOpen, kSMCSelectorClose));
  EXPECT_THAT(controller->requests(), IsEmpty());
}

TEST_F(ConnectionTest, EveryObjectHasAConnectionOfItsOwn) {
  const SMC first;
  const SMC second;
  EXPECT_THAT(controller->opens(), ElementsAre(1, 1));
  EXPECT_EQ(kx::live_objects(), 2U);
}

TEST_F(ConnectionTest, TheFirstOfSeveralServicesIsUsed) {
  const auto second = std::make_shared<FakeController>();
  kx::install_machine({{nullptr, {{controller, {}}}}, {second, {}}});
  const SMC smc;
  EXPECT_THAT(controller->opens(), ElementsAre(1));
  EXPECT_THAT(second->opens(), IsEmpty());
}

TEST_F(ConnectionTest, AServiceOfADerivedClassWillDo) {
  controller->class_names = {"VeltoSMCSimulation", kSMCServiceClass};
  kx::install_machine({{controller, {}}});
  EXPECT_EQ(failure_to_connect(), "nothing thrown");
}

TEST_F(ConnectionTest, WithoutAServiceTheIteratorReturnsNull) {
  kx::install_machine({});
  EXPECT_EQ(failure_to_connect(), "KxIteratorNext() returned NULL");
}

TEST_F(ConnectionTest, ARefusedOpenIsDescribedByItsCode) {
  controller->open_returns = kKxReturnNotPermitted;
  EXPECT_EQ(failure_to_connect(), "KxServiceOpen(): error kKxReturnNotPermitted");
  controller->open_returns = static_cast<kx_return_t>(0xE00002D8);
  EXPECT_EQ(failure_to_connect(), "KxServiceOpen(): error e00002d8");
}

TEST_F(ConnectionTest, AFailedOpenHandShakeClosesTheConnection) {
  controller->scalar_returns[kSMCSelectorOpen] = kKxReturnExclusiveAccess;
  EXPECT_EQ(failure_to_connect(),
            "KxConnectMethodScalarIScalarO(): error kKxReturnExclusiveAccess");
  EXPECT_EQ(kx::live_objects(), 0U);
}

TEST_F(ConnectionTest, AFailedCloseHandShakeLeavesTheDestructorAndTheConnectionOpen) {
  controller->scalar_returns[kSMCSelectorClose] = kKxReturnIOError;
  EXPECT_EQ(failure_to_connect(), "KxConnectMethodScalarIScalarO(): error kKxReturnIOError");
  objects_left_over = 1;
}

TEST_F(ConnectionTest, AConnectionThatIsGoneCannotBeReleased) {
  const unsigned int port = SMC::get_port();
  SMC::release_port(port);
  EXPECT_EQ(thrown<SMCException>([&] { SMC::release_port(port); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnBadArgument");
}

TEST_F(ConnectionTest, ACallHandsWholeRecordsOverBothWays) {
  SMC smc;
  SMCParamStruct request{};
  request.key = FakeController::code("MSW2");
  request.status = 0x5A;
  request.word = 0xCAFE;
  request.command = kSMCCommandRead;
  SMCParamStruct reply{};
  smc.call(2, &request, &reply);
  ASSERT_EQ(controller->requests().size(), 1U);
  EXPECT_EQ(hex(controller->requests()[0]), hex(request));
  EXPECT_EQ(reply.bytes[0], 0xBE);
  EXPECT_EQ(reply.bytes[1], 0xEF);
}

TEST_F(ConnectionTest, AFailedCallThrowsItsCode) {
  SMC smc;
  SMCParamStruct record{};
  controller->answer(0, {kKxReturnIOError, {}, {}, {}});
  EXPECT_EQ(thrown<SMCException>([&] { smc.call(2, &record, &record); }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnIOError");
  EXPECT_EQ(thrown<SMCException>([&] { smc.call(3, &record, &record); }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnBadArgument");
}

using ConnectionDeathTest = ConnectionTest;

TEST_F(ConnectionDeathTest, ACallNeedsARecordIn) {
  SMC smc;
  SMCParamStruct record{};
  EXPECT_DEATH(smc.call(2, nullptr, &record),
               HasSubstr("Assertion failed: (in), function call, file src/SMC.\n"));
}

TEST_F(ConnectionDeathTest, ACallNeedsARecordOut) {
  SMC smc;
  SMCParamStruct record{};
  EXPECT_DEATH(smc.call(2, &record, nullptr),
               HasSubstr("Assertion failed: (out), function call, file src/SMC.\n"));
}

}  // namespace
