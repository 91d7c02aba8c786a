#include "vorn/summary.h"

#include <string>

#include "support/fake_host.h"
#include "support/settings_fixture.h"
#include "vorn/interval_source.h"
#include "vorn/settings.h"
#include "vorn/version.h"
#include "vorn/waveform.h"

namespace {

class Summary : public SettingsFixture {
 protected:
  Summary() {
    workloads = {"spin"};
    fans = {"F0Tg", "F1Tg"};
    cores = 1;
  }

  static std::string text() {
    testing::internal::CaptureStderr();
    summarize();
    return testing::internal::GetCapturedStderr();
  }

  /// The first line, and the only workload's at priority `priority`, around `lines`.
  static std::string around(const std::string& lines, int priority) {
    return longversion + ", running on a 2-core system\n" + lines +
           "\tworkload thread on core 0 running \"spin\" (priority " + std::to_string(priority) +
           ")\n";
  }
};

TEST_F(Summary, OfAPlainRunIsTheSystemAndItsWorkloads) {
  cores = kNotGiven;
  EXPECT_EQ(text(), longversion +
                        ", running on a 2-core system\n"
                        "\tworkload thread on core 0 running \"spin\" (priority 63)\n"
                        "\tworkload thread on core 1 running \"spin\" (priority 63)\n");
}

TEST_F(Summary, TheLongVersionIsTheVersionAndACopyrightNotice) {
  EXPECT_EQ(version, "Vorn 0.2i 24August2006");
  EXPECT_TRUE(longversion.starts_with(version + " "));
}

TEST_F(Summary, NamesTheForcedPState) {
  pstate = 0;
  const std::string first = text().substr(0, text().find('\n'));
  EXPECT_TRUE(first.ends_with("-core system in P0")) << first;
}

TEST_F(Summary, NamesTheFansAndTheirSpeed) {
  rpm = 2500;
  EXPECT_EQ(text(), around("\t+ fans F0Tg, F1Tg @ 2500RPM\n", 63));
}

TEST_F(Summary, OneFanAtItsMaximumHasNoPluralAndATrailingBlank) {
  rpm = kMaximumSpeed;
  fans = {"F0Tg"};
  EXPECT_EQ(text(), around("\t+ fan F0Tg @ max \n", 63));
}

TEST_F(Summary, NamesTheMonitorThread) {
  monitor = true;
  EXPECT_EQ(text(), around("\tmonitor thread running at 1Hz (priority 63)\n", 31));
}

TEST_F(Summary, ASquareWaveLeavesTwoBlanksBeforeItsRate) {
  frequency = 100;
  EXPECT_EQ(text(), around("\ttiming thread running  at 100Hz (priority 63)\n", 31));
}

TEST_F(Summary, NamesAnInvertedSinusoid) {
  frequency = 2000;
  sinusoid = 0.5;
  invert = true;
  EXPECT_EQ(text(),
            around("\ttiming thread running inverted 0.5Hz sinusoid at 2kHz (priority 63)\n", 31));
}

TEST_F(Summary, NamesATriangle) {
  frequency = 10;
  triangle = 0.25;
  EXPECT_EQ(text(), around("\ttiming thread running 0.25Hz triangle at 10Hz (priority 63)\n", 31));
}

TEST_F(Summary, RatesArePrintedInHertzBelowOneThousand) {
  frequency = 999.5;
  EXPECT_EQ(text(), around("\ttiming thread running  at 999.5Hz (priority 63)\n", 31));
  frequency = 1500;
  EXPECT_EQ(text(), around("\ttiming thread running  at 1.5kHz (priority 63)\n", 31));
  frequency = 1000;
  EXPECT_EQ(text(), around("\ttiming thread running  at 1kHz (priority 63)\n", 31));
}

TEST_F(Summary, NamesTheFanThread) {
  fanfrequency = 0.1;
  EXPECT_EQ(text(), around("\tfan thread running at 0.1Hz (priority 63)\n", 63));
}

TEST_F(Summary, ABindingNamesOneProcessorForAll) {
  cores = 2;
  binding = 3;
  EXPECT_EQ(text(), longversion +
                        ", running on a 2-core system\n"
                        "\tworkload thread on core 3 running \"spin\" (priority 63)\n"
                        "\tworkload thread on core 3 running \"spin\" (priority 63)\n");
}

TEST_F(Summary, AWaveformOfAnotherProgramIsNamedByItsDescription) {
  frequency = 20.0;
  waveform.description = "duty 0.3";
  EXPECT_EQ(text(), around("\ttiming thread running duty 0.3 at 20Hz (priority 63)\n", 31));
}

TEST_F(Summary, AWaveformWithoutAFrequencyNamesNone) {
  class NoIntervals : public IntervalSource {
    std::optional<std::int64_t> next_ns() override { return std::nullopt; }
  } source;
  waveform.source = &source;
  waveform.description = "edges of a file";
  EXPECT_EQ(text(), around("\ttiming thread running edges of a file (priority 63)\n", 31));
}

}  // namespace
