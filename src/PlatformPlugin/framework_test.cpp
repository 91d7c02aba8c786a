#include <gmock/gmock.h>
#include <unistd.h>

#include "PlatformPlugin/PlatformPlugin.h"
#include "support/scripted_kx.h"
#include "support/thrown.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

uid_t effective_user = 0;

class PlatformPluginFrameworkTest : public testing::Test {
 protected:
  PlatformPluginFrameworkTest() {
    effective_user = 0;
    scripted_kx::reset();
    script().entries = {"KxPlatformPlugin"};
  }

  static scripted_kx::Script& script() { return scripted_kx::script(); }
  static std::vector<std::string>& calls() { return scripted_kx::calls(); }
  static std::string failure_to_connect() {
    return thrown<PlatformPluginException>([] { const PlatformPlugin platform; });
  }
};

TEST_F(PlatformPluginFrameworkTest, EntriesBeforeThePluginAreReleasedAndThoseAfterItNotLookedAt) {
  script().entries = {"Other", "Another", "KxPlatformPlugin", "KxPlatformPlugin"};
  const PlatformPlugin platform;
  EXPECT_THAT(calls(), ElementsAre("KxMasterPort(0)",                                 //
                                   "KxRegistryCreateIterator(master, KxService, 1)",  //
                                   "KxIteratorNext(iterator)",                        //
                                   "KxObjectConformsTo(entry 0, KxPlatformPlugin)",   //
                                   "KxObjectRelease(entry 0)",                        //
                                   "KxIteratorNext(iterator)",                        //
                                   "KxObjectConformsTo(entry 1, KxPlatformPlugin)",   //
                                   "KxObjectRelease(entry 1)",                        //
                                   "KxIteratorNext(iterator)",                        //
                                   "KxObjectConformsTo(entry 2, KxPlatformPlugin)",   //
                                   "KxRegistryDisposeEnumerator(iterator)",           //
                                   "KxServiceOpen(entry 2, task, 0x50505543)"));
}

TEST_F(PlatformPluginFrameworkTest, AnOrdinaryUserIsRefusedBeforeAnyCall) {
  effective_user = 1;
  EXPECT_EQ(failure_to_connect(), "Platform Plugin operations require superuser privileges");
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PlatformPluginFrameworkTest, NoMasterPort) {
  script().master_port = kKxReturnError;
  EXPECT_EQ(failure_to_connect(), "KxMasterPort(): error kKxReturnError");
  EXPECT_THAT(calls(), ElementsAre("KxMasterPort(0)"));
}

TEST_F(PlatformPluginFrameworkTest, NoRegistryIterator) {
  script().registry_iterator = kKxReturnInternalError;
  EXPECT_EQ(failure_to_connect(), "KxRegistryCreateIterator(): error kKxReturnInternalError");
  EXPECT_THAT(calls(),
              ElementsAre("KxMasterPort(0)", "KxRegistryCreateIterator(master, KxService, 1)"));
}

TEST_F(PlatformPluginFrameworkTest, NoServiceOfTheClassReleasesEveryEntryAndTheIterator) {
  script().entries = {"Other"};
  EXPECT_EQ(failure_to_connect(), "No service matching \"KxPlatformPlugin\"");
  EXPECT_THAT(calls(), ElementsAre("KxMasterPort(0)",                                 //
                                   "KxRegistryCreateIterator(master, KxService, 1)",  //
                                   "KxIteratorNext(iterator)",                        //
                                   "KxObjectConformsTo(entry 0, KxPlatformPlugin)",   //
                                   "KxObjectRelease(entry 0)",                        //
                                   "KxIteratorNext(iterator)",                        //
                                   "KxRegistryDisposeEnumerator(iterator)"));
}

TEST_F(PlatformPluginFrameworkTest, ARefusedOpenThrowsItsCode) {
  script().open = kKxReturnExclusiveAccess;
  EXPECT_EQ(failure_to_connect(), "KxServiceOpen(): error kKxReturnExclusiveAccess");
}

TEST_F(PlatformPluginFrameworkTest, AStepIsOneScalarInputOfMethod3) {
  PlatformPlugin platform;
  calls().clear();
  platform.set_state(7);
  EXPECT_THAT(calls(), ElementsAre("KxConnectMethodScalarIScalarO(connection, 3, in 107, 0 out)"));
}

TEST_F(PlatformPluginFrameworkTest, ARefusedCloseLeavesTheDestructor) {
  script().close = kKxReturnIOError;
  EXPECT_EQ(failure_to_connect(), "KxServiceClose(): error kKxReturnIOError");
}

}  // namespace

// In place of the C library's, so that the tests need no rights and see both sides.
uid_t geteuid() noexcept {
  return effective_user;
}
