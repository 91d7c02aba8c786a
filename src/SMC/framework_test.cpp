#include <gmock/gmock.h>

#include "SMC/SMC.h"
#include "support/scripted_kx.h"
#include "support/thrown.h"

namespace {

using testing::ElementsAre;

/// The calls up to and with the n-th of an opening that succeeds.
std::vector<std::string> opening(std::size_t n) {
  std::vector<std::string> calls{
      "KxMasterPort(0)",
      "KxServiceMatching(VeltoSMC)",
      "KxServiceGetMatchingServices(master, matching)",
      "KxIteratorNext(iterator)",
      "KxObjectRelease(iterator)",
      "KxServiceOpen(entry 0, task, 0x1)",
      "KxObjectRelease(entry 0)",
      "KxConnectMethodScalarIScalarO(connection, 0, 0 out)",
  };
  calls.resize(n);
  return calls;
}

class SMCFrameworkTest : public testing::Test {
 protected:
  SMCFrameworkTest() {
    scripted_kx::reset();
    script().entries = {"VeltoSMC", "VeltoSMC"};
  }

  static scripted_kx::Script& script() { return scripted_kx::script(); }
  static std::vector<std::string>& calls() { return scripted_kx::calls(); }
  static std::string failure_to_open() {
    return thrown<SMCException>([] { SMC::get_port(); });
  }
};

TEST_F(SMCFrameworkTest, OpeningReleasesTheIteratorAndTheServiceAtOnce) {
  SMC::get_port();
  EXPECT_EQ(calls(), opening(8));
}

TEST_F(SMCFrameworkTest, ClosingShakesHandsFirst) {
  const unsigned int port = SMC::get_port();
  calls().clear();
  SMC::release_port(port);
  EXPECT_THAT(calls(), ElementsAre("KxConnectMethodScalarIScalarO(connection, 1, 0 out)",
                                   "KxServiceClose(connection)"));
}

TEST_F(SMCFrameworkTest, NoMasterPort) {
  script().master_port = kKxReturnError;
  EXPECT_EQ(failure_to_open(), "KxMasterPort(): error kKxReturnError");
  EXPECT_EQ(calls(), opening(1));
}

TEST_F(SMCFrameworkTest, NoMatchingDictionary) {
  script().matching = false;
  EXPECT_EQ(failure_to_open(), "KxServiceMatching(\"VeltoSMC\") returned NULL");
  EXPECT_EQ(calls(), opening(2));
}

TEST_F(SMCFrameworkTest, NoMatchingServices) {
  script().matching_services = kKxReturnBadArgument;
  EXPECT_EQ(failure_to_open(), "KxServiceGetMatchingServices(): error kKxReturnBadArgument");
  EXPECT_EQ(calls(), opening(3));
}

TEST_F(SMCFrameworkTest, NoServiceStillReleasesTheIterator) {
  script().entries = {};
  EXPECT_EQ(failure_to_open(), "KxIteratorNext() returned NULL");
  EXPECT_EQ(calls(), opening(5));
}

TEST_F(SMCFrameworkTest, ARefusedOpenStillReleasesTheService) {
  script().open = kKxReturnExclusiveAccess;
  EXPECT_EQ(failure_to_open(), "KxServiceOpen(): error kKxReturnExclusiveAccess");
  EXPECT_EQ(calls(), opening(7));
}

TEST_F(SMCFrameworkTest, AFailedHandShakeClosesWhateverTheCloseSays) {
  script().scalar[0] = kKxReturnInternalError;
  script().close = kKxReturnIOError;
  EXPECT_EQ(failure_to_open(), "KxConnectMethodScalarIScalarO(): error kKxReturnInternalError");
  auto expected = opening(8);
  expected.emplace_back("KxServiceClose(connection)");
  EXPECT_EQ(calls(), expected);
}

TEST_F(SMCFrameworkTest, AFailedCloseHandShakeDoesNotClose) {
  const unsigned int port = SMC::get_port();
  calls().clear();
  script().scalar[1] = kKxReturnUnsupported;
  EXPECT_EQ(thrown<SMCException>([&] { SMC::release_port(port); }),
            "KxConnectMethodScalarIScalarO(): error kKxReturnUnsupported");
  EXPECT_THAT(calls(), ElementsAre("KxConnectMethodScalarIScalarO(connection, 1, 0 out)"));
}

TEST_F(SMCFrameworkTest, ARefusedCloseLeavesTheDestructor) {
  script().close = kKxReturnIOError;
  EXPECT_EQ(thrown<SMCException>([] { const SMC smc; }),
            "KxServiceClose(): error kKxReturnIOError");
}

TEST_F(SMCFrameworkTest, ATransactionIsOneCallOf80BytesBothWays) {
  SMC smc;
  calls().clear();
  SMCParamStruct record{};
  smc.call(2, &record, &record);
  EXPECT_THAT(calls(), ElementsAre("KxConnectMethodStructureIStructureO(connection, 2, 80 in, "
                                   "80 out)"));
}

TEST_F(SMCFrameworkTest, AFailedTransactionThrowsItsCode) {
  SMC smc;
  script().structure = kKxReturnNotPermitted;
  EXPECT_EQ(thrown<SMCException>([&] { smc.get_key_infodata(SMC::key("F0Tg")); }),
            "KxConnectMethodStructureIStructureO(): error kKxReturnNotPermitted");
}

}  // namespace
