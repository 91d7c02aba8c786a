#include "keys/listing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "SMC/SMCException.h"
#include "support/controller_fixture.h"
#include "support/fake_inspection.h"

namespace vorn_keys {
namespace {

const std::string kHeadings = "#key\ttype\tsize\tvalue\tunit\tsource\n";

class ListingTest : public ControllerTest {
 protected:
  ~ListingTest() override { fake_inspection::reset(); }

  static void have(std::vector<inspection::Key> keys) {
    fake_inspection::state().keys = std::move(keys);
  }

  /// The listing without its headings.
  std::string list() {
    std::ostringstream out;
    well = list_keys(out);
    EXPECT_TRUE(out.str().starts_with(kHeadings)) << out.str();
    return out.str().substr(std::min(kHeadings.size(), out.str().size()));
  }

  bool well = false;
};

TEST_F(ListingTest, OfNoKeysIsItsHeadingsAndWell) {
  EXPECT_EQ(list(), "");
  EXPECT_TRUE(well);
}

TEST_F(ListingTest, HasALineForEachKeyInTheMachinesOrder) {
  have({{"TC0D", "coretemp"}, {"F0Mx", "nct6779 fan2"}, {"PC0C", "intel-rapl:0"}});
  EXPECT_EQ(list(),
            "TC0D\tsp78\t2\t42.25\tdegrees C\tcoretemp\n"
            "F0Mx\tfpe2\t2\t6000\tRPM\tnct6779 fan2\n"
            "PC0C\tfp88\t2\t40.5\tW\tintel-rapl:0\n");
  EXPECT_TRUE(well);
}

TEST_F(ListingTest, ShowsIntegersOfAnySizeAndNoUnitForWhatHasNone) {
  controller->add_key("Uptm", "ui32", 4, {0x01, 0x02, 0x03, 0x04});
  have({{"MSDI", "one"}, {"MSW2", "two"}, {"Uptm", "four"}, {"FS! ", "bits"}});
  EXPECT_EQ(list(),
            "MSDI\tui8 \t1\t1\t-\tone\n"
            "MSW2\tui16\t2\t48879\t-\ttwo\n"
            "Uptm\tui32\t4\t16909060\t-\tfour\n"
            "FS! \tui16\t2\t0\t-\tbits\n");
}

TEST_F(ListingTest, ShowsATemperatureBelowZero) {
  controller->add_key("TA0P", "sp78", 2, {0x85, 0x80});
  have({{"TA0P", "board"}});
  EXPECT_EQ(list(), "TA0P\tsp78\t2\t-4.5\tdegrees C\tboard\n");
}

TEST_F(ListingTest, GivesFansAloneASpeedsUnit) {
  controller->add_key("FCnt", "ui8 ", 1, {3});
  have({{"FCnt", "count"}, {"F2Tg", "pwm"}});
  EXPECT_EQ(list(), "FCnt\tui8 \t1\t3\t-\tcount\nF2Tg\tfpe2\t2\t0\tRPM\tpwm\n");
}

TEST_F(ListingTest, ReadsNoKeyThatWouldMoveAFan) {
  have({{"F0Mx", "not measured yet", true}});
  EXPECT_EQ(list(), "F0Mx\tfpe2\t2\tnot measured\tRPM\tnot measured yet\n");
  EXPECT_TRUE(well);
  for (const SMCParamStruct& request : controller->requests()) {
    EXPECT_NE(request.command, kSMCCommandRead);
  }
}

TEST_F(ListingTest, ShowsWhyAValueCannotBeReadAndGoesOn) {
  constexpr std::size_t kReadOfTheFirst = 1;  // behind its description
  FakeController::Answer refusal;
  refusal.returns = kKxReturnNotPermitted;
  controller->answer(kReadOfTheFirst, refusal);
  have({{"PC0C", "intel-rapl:0"}, {"TC0D", "coretemp"}});
  const std::string lines = list();
  EXPECT_FALSE(well);
  const std::string first = lines.substr(0, lines.find("\tW\tintel-rapl:0\n"));
  EXPECT_TRUE(first.starts_with("PC0C\tfp88\t2\t")) << lines;
  EXPECT_GT(first.size(), std::string("PC0C\tfp88\t2\t").size()) << "the reason";
  EXPECT_EQ(first.find('\n'), std::string::npos) << first;
  EXPECT_EQ(std::count(first.begin(), first.end(), '\t'), 3);
  EXPECT_TRUE(lines.ends_with("TC0D\tsp78\t2\t42.25\tdegrees C\tcoretemp\n")) << lines;
}

TEST_F(ListingTest, WritesNothing) {
  have({{"FS! ", "bits"}, {"F0Tg", "pwm"}});
  list();
  for (const SMCParamStruct& request : controller->requests()) {
    EXPECT_NE(request.command, kSMCCommandWrite);
  }
}

TEST_F(ListingTest, IsNotPossibleWithoutAController) {
  kx::install_machine({});
  std::ostringstream out;
  EXPECT_THROW(list_keys(out), SMCException);
  EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace vorn_keys
