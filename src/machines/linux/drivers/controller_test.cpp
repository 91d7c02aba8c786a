#include "machines/linux/drivers/controller.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <deque>

#include "support/machine/fan_fixture.h"

namespace linux_machine {
namespace {

using controller::four_characters;
using sysfs::Result;

/// What a sensor answers, the last answer again and again, and how many have been made of it.
struct Script {
  std::deque<Result<double>> answers;
  int made = 0;
};

class ScriptedSensor final : public Sensor {
 public:
  explicit ScriptedSensor(Script& script) : script_(script) { ++script_.made; }

  Result<double> read() override {
    Result<double> answer = script_.answers.front();
    if (script_.answers.size() > 1) {
      script_.answers.pop_front();
    }
    return answer;
  }

 private:
  Script& script_;
};

SensorKey sensor_key(Script& script) {
  return {"TC0D", controller::kSp78, "scripted",
          [&script] { return std::make_unique<ScriptedSensor>(script); }};
}

std::vector<std::string> names(const std::vector<Key>& keys) {
  std::vector<std::string> all;
  all.reserve(keys.size());
  for (const Key& key : keys) {
    all.push_back(key.name());
  }
  return all;
}

/// The key called `name`, which must be there.
const Key& named(const std::vector<Key>& keys, const std::string& name) {
  const auto at =
      std::find_if(keys.begin(), keys.end(), [&](const Key& key) { return key.name() == name; });
  EXPECT_NE(at, keys.end()) << name;
  return *at;
}

/// The keys of a machine of text alone, in which nothing moves.
class KeysOfAMachine {
 public:
  explicit KeysOfAMachine(const std::string& text) : tree(text) {}

  MemoryTree tree;
  TestSurroundings world{tree};
  Ledger ledger{world.surroundings, "fans"};
  FanControl fans{world.surroundings, ledger, {}, FanControl::Watching::by_caller};
  std::vector<Key> keys = make_keys({}, world.surroundings, fans);
};

const std::string kLinked = "link class/hwmon/hwmon0 -> ../../devices/x/hwmon/hwmon0\n";

class MakeKeys : public testing::Test {
 protected:
  MakeKeys() { bench.new_run(); }

  std::vector<Key> keys() { return make_keys({}, bench.surroundings.surroundings, *bench.control); }

  FanFixture bench;
};

TEST_F(MakeKeys, PutTheSensorsFirstThenTheForceBitsThenEachFan) {
  Script script{{25.0}};
  const auto all = make_keys({sensor_key(script)}, bench.surroundings.surroundings, *bench.control);
  EXPECT_EQ(names(all), (std::vector<std::string>{"TC0D", "FS! ", "F0Ac", "F0Tg", "F0Mx", "F1Ac",
                                                  "F1Tg", "F1Mx"}));
  EXPECT_EQ(script.made, 0) << "a sensor is made by a connection";
}

TEST_F(MakeKeys, SayTheSourceOfEach) {
  const auto all = keys();
  const std::string board = "devices/platform/board/hwmon/hwmon2/";
  EXPECT_EQ(named(all, "F0Ac").source, "nct6779 fan1: " + board + "fan1_input");
  EXPECT_EQ(named(all, "F1Tg").source, "nct6779 fan2: " + board + "pwm2");
  EXPECT_EQ(named(all, "FS! ").source, "one bit for each fan that is forced");
}

TEST_F(MakeKeys, GiveEachAWideEnoughType) {
  for (const Key& key : keys()) {
    EXPECT_EQ(key.type.code, four_characters(key.name() == "FS! " ? "ui16" : "fpe2")) << key.name();
  }
}

TEST_F(MakeKeys, LetNothingButForceBitsAndTargetsBeWritten) {
  for (const Key& key : keys()) {
    EXPECT_EQ(key.write != nullptr, key.name() == "FS! " || key.name().ends_with("Tg"))
        << key.name();
  }
}

TEST_F(MakeKeys, WarnOfAMaximumThatIsStillToBeMeasured) {
  for (const Key& key : keys()) {
    EXPECT_EQ(key.moves_fan_when_read, key.name().ends_with("Mx")) << key.name();
  }
  EXPECT_NE(named(keys(), "F0Mx").source.find("not measured yet: run vorn-keys --calibrate"),
            std::string::npos);
}

TEST_F(MakeKeys, TakeTheRangeOfAMeasuredCurve) {
  bench.save_true_curve(0, Curve::Stop::unproven);
  bench.new_run();
  const auto all = keys();
  EXPECT_EQ(names(all), (std::vector<std::string>{"FS! ", "F0Ac", "F0Tg", "F0Mx", "F0Mn", "F1Ac",
                                                  "F1Tg", "F1Mx"}));
  EXPECT_FALSE(named(all, "F0Mx").moves_fan_when_read);
  EXPECT_EQ(named(all, "F0Mx").source, "nct6779 fan1: measured curve");
  EXPECT_EQ(named(all, "F0Mn").source, "nct6779 fan1: lowest steady speed");
  EXPECT_EQ(*named(all, "F0Mx").read(), 2000);
  const double lowest = MovingFan{}.steady_rpm(32);
  EXPECT_NEAR(*named(all, "F0Mn").read(), lowest, 1);
}

TEST(MakeKeysOf, AFanThatCannotBeForcedHasItsSpeedAlone) {
  const KeysOfAMachine machine(kLinked +
                               "0444 devices/x/hwmon/hwmon0/name = nct6779\n"
                               "0444 devices/x/hwmon/hwmon0/fan1_input = 900\n");
  EXPECT_EQ(names(machine.keys), std::vector<std::string>{"F0Ac"});
}

TEST(MakeKeysOf, AFanWithARealRangeTakesItFromTheChip) {
  const std::string folder = "devices/x/hwmon/hwmon0/";
  const KeysOfAMachine machine(kLinked + "0444 " + folder + "name = dell_smm\n0444 " + folder +
                               "fan1_input = 900\n0444 " + folder + "fan1_label = Processor Fan\n" +
                               "0444 " + folder + "fan1_max = 4900\n0444 " + folder +
                               "fan1_min = 700\n");
  ASSERT_EQ(names(machine.keys), (std::vector<std::string>{"F0Ac", "F0Mx", "F0Mn"}));
  EXPECT_EQ(machine.keys[1].source,
            "dell_smm fan1, label \"Processor Fan\": " + folder + "fan1_max");
  EXPECT_EQ(*machine.keys[1].read(), 4900);
  EXPECT_EQ(*machine.keys[2].read(), 700);
}

TEST(MakeKeysOf, AMachineWithoutAnythingAreNone) {
  EXPECT_TRUE(KeysOfAMachine("").keys.empty());
}

class LinuxKeysTest : public testing::Test {
 protected:
  std::vector<std::string> reports() { return bench.surroundings.reports(); }

  std::size_t find(const char (&name)[5]) {
    const std::optional<std::size_t> key = connection.find(four_characters(name));
    EXPECT_TRUE(key) << name;
    return key.value_or(0);
  }
  kx_return_t read(const char (&name)[5]) { return connection.read(find(name), stored); }
  kx_return_t write(const char (&name)[5], std::uint32_t value) {
    return connection.write(find(name), value);
  }

  Script script{{25.0}};
  FanFixture bench;

 private:
  FanControl& begin_run() {
    bench.new_run();
    return *bench.control;
  }

 protected:
  FanControl& fans = begin_run();
  std::vector<Key> keys = make_keys({sensor_key(script)}, bench.surroundings.surroundings, fans);
  bool permitted = true;
  Complaints complaints;
  KeyStore store{bench.surroundings.surroundings, keys, [this] { return permitted; }, complaints};
  LinuxKeys connection{store};
  std::uint32_t stored = 0xABCD;
};

TEST_F(LinuxKeysTest, FindNothingThatTheMachineLacks) {
  EXPECT_FALSE(connection.find(four_characters("TC1D")));
  EXPECT_FALSE(connection.find(0));
}

TEST_F(LinuxKeysTest, MakeASensorWhenItsKeyIsFirstFound) {
  EXPECT_EQ(script.made, 0);
  find("FS! ");
  EXPECT_EQ(script.made, 0);
  find("TC0D");
  find("TC0D");
  EXPECT_EQ(script.made, 1);
}

TEST_F(LinuxKeysTest, HaveSensorsOfTheirOwnInEachConnection) {
  LinuxKeys other(store);
  find("TC0D");
  other.find(four_characters("TC0D"));
  EXPECT_EQ(script.made, 2);
}

TEST_F(LinuxKeysTest, ReadAValueAsItsTypeStoresIt) {
  EXPECT_EQ(read("TC0D"), kKxReturnSuccess);
  EXPECT_EQ(stored, 25U * 256);
  fans.set_force_bits(2);
  EXPECT_EQ(read("FS! "), kKxReturnSuccess);
  EXPECT_EQ(stored, 2U);
  EXPECT_TRUE(reports().empty());
}

TEST_F(LinuxKeysTest, WriteAValueAsItsTypeStoresIt) {
  EXPECT_EQ(write("F1Tg", 1200 * 4 + 1), kKxReturnSuccess);
  EXPECT_EQ(*fans.target_rpm(1), 1200.25);
  EXPECT_EQ(write("FS! ", 3), kKxReturnSuccess);
  EXPECT_EQ(fans.force_bits(), 3);
}

TEST_F(LinuxKeysTest, PassAFailingReadsCodeOnAndStoreNothing) {
  const std::pair<sysfs::Failure, kx_return_t> kCases[] = {
      {sysfs::failure("reading", "class/x", EIO), kKxReturnIOError},
      {sysfs::failure("opening", "class/x", EACCES), kKxReturnNotPermitted},
      {sysfs::failure("opening", "class/x", ENOENT), kKxReturnIOError},
      {sysfs::nonsense("class/x", "it reads -44000"), kKxReturnError}};
  for (const auto& [failure, code] : kCases) {
    script.answers = {failure};
    EXPECT_EQ(read("TC0D"), code);
    EXPECT_EQ(stored, 0xABCDU);
    EXPECT_TRUE(bench.surroundings.reported("TC0D: " + failure.message)) << failure.message;
  }
}

TEST_F(LinuxKeysTest, ReportTheSameTroubleOfAKeyOnce) {
  script.answers = {sysfs::failure("reading", "class/x", EIO)};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(read("TC0D"), kKxReturnIOError);
  }
  EXPECT_EQ(reports(), std::vector<std::string>{"TC0D: reading class/x: Input/output error"});
  script.answers = {sysfs::failure("reading", "class/x", ENODATA)};
  read("TC0D");
  read("TC0D");
  EXPECT_EQ(reports().size(), 2U);
}

TEST_F(LinuxKeysTest, ReportTheSameTroubleOnceForAllConnections) {
  script.answers = {sysfs::failure("reading", "class/x", EIO)};
  read("TC0D");
  LinuxKeys other(store);
  EXPECT_EQ(other.read(*other.find(four_characters("TC0D")), stored), kKxReturnIOError);
  EXPECT_EQ(reports().size(), 1U);
}

TEST(Complaint, IsNewsByKeyAndUntilAnotherOneIsMade) {
  Complaints complaints;
  EXPECT_TRUE(complaints.is_news(0, "it is silent"));
  EXPECT_FALSE(complaints.is_news(0, "it is silent"));
  EXPECT_TRUE(complaints.is_news(1, "it is silent"));
  EXPECT_TRUE(complaints.is_news(0, "it has gone"));
  EXPECT_TRUE(complaints.is_news(0, "it is silent"));
}

TEST_F(LinuxKeysTest, ReadOnAfterATrouble) {
  script.answers = {sysfs::failure("reading", "class/x", EIO), 30.0};
  EXPECT_EQ(read("TC0D"), kKxReturnIOError);
  EXPECT_EQ(read("TC0D"), kKxReturnSuccess);
  EXPECT_EQ(stored, 30U * 256);
}

TEST_F(LinuxKeysTest, ReportARefusedWriteWithItsReason) {
  bench.surroundings.proc.put("77/comm", "fan2go\n");
  EXPECT_EQ(write("FS! ", 1), kKxReturnExclusiveAccess);
  EXPECT_EQ(fans.force_bits(), 0);
  EXPECT_TRUE(bench.surroundings.reported("FS! : fan2go is running"));
}

TEST_F(LinuxKeysTest, RefuseABitWithoutAFan) {
  EXPECT_EQ(write("FS! ", 4), kKxReturnBadArgument);
  EXPECT_EQ(reports(), std::vector<std::string>{"FS! : this machine has 2 fans to force"});
}

TEST_F(LinuxKeysTest, AreWrittenWhileTheMachineSaysSo) {
  EXPECT_TRUE(connection.may_change());
  permitted = false;
  EXPECT_FALSE(connection.may_change());
}

// As a board that loses a chip: the keys stay, and say so.
TEST(LinuxKeysOf, AFanSayWhetherItRestsIsSilentOrTalksNonsense) {
  const std::string input = "devices/x/hwmon/hwmon0/fan1_input";
  KeysOfAMachine machine(kLinked + "0444 devices/x/hwmon/hwmon0/name = nct6779\n0444 " + input +
                         " = -1\n");
  Complaints complaints;
  LinuxKeys connection({machine.world.surroundings, machine.keys, [] { return true; }, complaints});
  const auto read = [&] {
    std::uint32_t stored = 99;
    const kx_return_t code = connection.read(*connection.find(four_characters("F0Ac")), stored);
    return std::make_pair(code, stored);
  };
  EXPECT_EQ(read(), std::make_pair(kKxReturnSuccess, 0U));
  machine.tree.put(input, "-500");
  EXPECT_EQ(read(), std::make_pair(kKxReturnError, 99U));
  machine.tree.put(input, "");
  EXPECT_EQ(read(), std::make_pair(kKxReturnIOError, 99U));
  machine.tree.put(input, "1500");
  EXPECT_EQ(read(), std::make_pair(kKxReturnSuccess, 1500U * 4));
  EXPECT_EQ(machine.world.reports().size(), 2U);
  EXPECT_TRUE(machine.world.reported(input));
}

}  // namespace
}  // namespace linux_machine
