#include "engine/record_plan.h"

#include "support/settings_fixture.h"
#include "vorn/settings.h"
#include "vorn/waveform.h"

namespace engine {
namespace {

class ARecordsPlan : public SettingsFixture {
 protected:
  ARecordsPlan() { workloads = {"bfma"}; }

  std::string setting(const std::string& name) {
    request_.record = "record";
    for (const auto& [known, value] : plan_record(request_, length_ns_, {}).settings) {
      if (known == name) {
        return value;
      }
    }
    return "none";
  }

  Request request_;
  std::optional<std::int64_t> length_ns_;
};

TEST_F(ARecordsPlan, HasTheRunTimeThatWasAskedForWhateverTheTimerIsSetTo) {
  additional_time_us = 3000000;
  length_ns_ = 300000000;
  EXPECT_EQ(setting("run_time_s"), "0.3");
  length_ns_.reset();
  EXPECT_EQ(setting("run_time_s"), "0");
}

TEST_F(ARecordsPlan, NamesASquareWaveToo) {
  waveform.description = "";
  EXPECT_EQ(setting("waveform"), "square");
  waveform.description = nullptr;
}

TEST_F(ARecordsPlan, HasEveryDigitOfANumber) {
  frequency = 1234.56789;
  length_ns_ = 12345678000;
  request_.limits = {{"TC0D", 95.1F}};
  EXPECT_EQ(setting("frequency_hz"), "1234.56789");
  EXPECT_EQ(setting("run_time_s"), "12.345678");
  EXPECT_EQ(setting("limits"), "TC0D=95.1");
}

}  // namespace
}  // namespace engine
