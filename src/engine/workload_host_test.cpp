#include "engine/workload_host.h"

#include <thread>

#include "engine/exit_status.h"
#include "engine/loads/load_report.h"
#include "support/settings_fixture.h"
#include "vorn/clock.h"
#include "vorn/settings.h"

namespace engine {
namespace {

class WorkloadHostTest : public SettingsFixture {
 protected:
  WorkloadHostTest() {
    workloads = {"bint"};
    verdict.clear();
  }

  /// A workload thread `t` whose load does `operations`, and gets `wrong` results.
  void run(unsigned t, std::uint64_t operations, int wrong) {
    std::thread([&] {
      host_.begin(t, host_.core(t));
      const auto report = std::make_shared<LoadReport>("bint", host_.core(t), 1);
      host_.ready(report);
      host_.made();
      report->add({.operations = operations, .bytes = 64});
      for (int i = 0; i < wrong; ++i) {
        report->add_wrong_result();
        host_.wrong_result({.report = *report, .processor = 1, .at_ns = monotonic_ns()});
      }
      host_.ended();
    }).join();
  }

  Placement placement_{{4, 7}, std::nullopt, Placement::Binding::kLabels};
  WorkloadHost host_;
};

TEST_F(WorkloadHostTest, KeepsTheWorkOfEachThread) {
  WrongResults wrong_results(2);
  host_.use(placement_, wrong_results, nullptr, false, 2);
  run(1, 500, 0);
  run(0, 300, 0);
  EXPECT_EQ(host_.work_texts(),
            (std::vector<std::string>{"workload thread 0 running \"bint\" did 300 operations and "
                                      "moved 64 bytes, 0 results wrong",
                                      "workload thread 1 running \"bint\" did 500 operations and "
                                      "moved 64 bytes, 0 results wrong"}));
  EXPECT_EQ(host_.wrong_results(), 0U);
}

TEST_F(WorkloadHostTest, IsReadyWhenTheLastThreadHasMadeItsLoad) {
  WrongResults wrong_results(2);
  host_.use(placement_, wrong_results, nullptr, false, 2);
  run(1, 500, 0);
  EXPECT_EQ(host_.readiness().missing(), 1U);
  run(0, 300, 0);
  EXPECT_EQ(host_.readiness().missing(), 0U);
}

TEST_F(WorkloadHostTest, AThreadWhoseLoadDoesNotCountHasNoWork) {
  WrongResults wrong_results(1);
  host_.use(placement_, wrong_results, nullptr, false, 1);
  std::thread([&] {
    host_.begin(0, 4);
    host_.made();
    host_.ended();
  }).join();
  EXPECT_TRUE(host_.work_texts().empty());
}

TEST_F(WorkloadHostTest, SaysTheFirstWrongResultOfEachThreadAndCountsAll) {
  testing::internal::CaptureStderr();
  {
    WrongResults wrong_results(2);
    ASSERT_TRUE(wrong_results.start());
    host_.use(placement_, wrong_results, nullptr, false, 2);
    run(1, 500, 3);
  }
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_NE(printed.find("hardware error: thread 1 computed a wrong result on core 1 at 20"),
            std::string::npos)
      << printed;
  EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1) << printed;
  EXPECT_EQ(host_.wrong_results(), 3U);
  EXPECT_EQ(verdict.status(), ExitStatus::kWrongResult);
}

TEST_F(WorkloadHostTest, BeforeItIsUsedCoresAreNamedAsVornNamesThem) {
  EXPECT_EQ(host_.core(1), 1U);
}

}  // namespace
}  // namespace engine
