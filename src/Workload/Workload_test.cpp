#include "Workload/Workload.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "Workload/workload_params.h"
#include "support/fake_host.h"

namespace {

class IdleWorkload : public Workload {
 public:
  explicit IdleWorkload(unsigned priority) : Workload(7, priority) {}
  void run(workload_params* /*params*/) override {}
};

class WorkloadTest : public testing::Test {
 protected:
  WorkloadTest() { fake_host::reset(); }
};

TEST_F(WorkloadTest, TakesTheFixedPriorityItIsGiven) {
  const IdleWorkload workload(31);
  EXPECT_EQ(fake_host::state().priority_calls, 1);
  EXPECT_EQ(fake_host::state().last_priority, 31);
}

TEST_F(WorkloadTest, ThrowsIfThePriorityIsRefused) {
  fake_host::state().priority_result = EPERM;
  EXPECT_THROW(IdleWorkload(63), WorkloadThreadException);
}

TEST_F(WorkloadTest, InitTakesTheForegroundRole) {
  Workload::init();
  EXPECT_EQ(fake_host::state().role_calls, 1);
}

TEST_F(WorkloadTest, InitThrowsIfTheRoleIsRefused) {
  fake_host::state().role_result = 1;
  EXPECT_THROW(Workload::init(), WorkloadPolicyException);
}

}  // namespace
