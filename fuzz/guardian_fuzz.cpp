// What a guardian reads that others have written: a state file, the messages of a run, the lists of
// control groups, attributes. And curves, which people edit. Whatever they say, nothing outside of
// the machine's attributes is opened, and nothing is read beyond its end.

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "machines/linux/fans/curve_file.h"
#include "machines/linux/giving_back/journal.h"
#include "machines/linux/giving_back/put_back.h"
#include "machines/linux/guardian/control_groups.h"
#include "machines/linux/guardian/message.h"
#include "machines/linux/watch/fan_watch.h"

namespace {

using namespace linux_machine;

using Input = FuzzedDataProvider;

constexpr std::size_t kLongText = 2048;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// A machine on which every attribute is there, and reads as the input says: a text, or an error.
class AnyTree : public sysfs::Tree {
 public:
  explicit AnyTree(Input& input) : input_(input) {}

  int open(const char* path, sysfs::Mode /*mode*/) override {
    const std::string_view opened(path);
    require(!opened.starts_with("/") && !opened.starts_with("../") && opened != ".." &&
            opened.find("/../") == std::string_view::npos && !opened.ends_with("/.."));
    return input_.ConsumeBool() ? -input_.ConsumeIntegralInRange(1, 130) : 3;
  }
  ssize_t read(int /*handle*/, std::span<char> text) override {
    if (input_.ConsumeBool()) {
      return -input_.ConsumeIntegralInRange(1, 130);
    }
    const std::string said = input_.ConsumeRandomLengthString(text.size());
    std::copy(said.begin(), said.end(), text.begin());
    return static_cast<ssize_t>(said.size());
  }
  ssize_t write(int /*handle*/, std::string_view text) override {
    return input_.ConsumeBool() ? -EIO : static_cast<ssize_t>(text.size());
  }
  void close(int /*handle*/) override {}
  int list(const char* /*folder*/, std::vector<std::string>& names) override {
    names.clear();
    return -ENOENT;
  }
  std::string real_path(const char* path) override { return path; }

 private:
  Input& input_;
};

void give_back_a_journal(Input& input) {
  const std::string journal = input.ConsumeRandomLengthString(kLongText);
  AnyTree tree(input);
  const std::function<void(std::int64_t)> sleep_for = [](std::int64_t ns) { require(ns > 0); };
  const std::function<void(std::string_view)> report = [](std::string_view) {};
  const auto what = input.ConsumeBool() ? Extent::everything : Extent::what_reads_as_forced;
  put_back(tree, journal, {.sleep_for = sleep_for, .report = report}, what);
}

/// A line that was written is read as what was written.
void read_a_written_line(Input& input) {
  const auto word = [&input] {
    std::string text = input.ConsumeRandomLengthString(40);
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n' || c == '='; });
    return "a" + text;
  };
  const std::string attribute = word();
  const std::string value = word();
  const std::string forced = word();
  const std::string line = set_line(attribute, value, forced);
  SetLine set;
  require(parse_set_line(line, set) && set.attribute == attribute && set.value == value &&
          set.forced == forced);
}

void hear_a_message(Input& input) {
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) == 0);
  const std::string said = input.ConsumeRandomLengthString(kLongText);
  require(send(ends[0], said.data(), said.size(), MSG_NOSIGNAL) ==
          static_cast<ssize_t>(said.size()));
  const auto message = std::make_unique<Message>();
  if (receive_message(ends[1], *message) == Heard::message) {
    require(message->text().size() <= Message::kMostText);
    const auto watch_tree = std::make_unique<AnyTree>(input);
    const auto watch = std::make_unique<FanWatch>(*watch_tree);
    // As a path that the run tells: a guardian opens what it is told, and only reads it.
    const std::string text = "a" + std::string(message->text());
    if (text.find("..") == std::string::npos) {
      watch->watch_temperature(text, static_cast<double>(message->number) / 1000);
      watch->watch_fan(text, FanWatch::Reads::each_round, message->number);
    }
    for (std::int64_t round = 0; round < 20; ++round) {
      LineText why;
      const bool alarmed = watch->alarmed(round * kNsPerS, why);
      require(alarmed == !why.view().empty());
    }
  }
  close(ends[0]);
  close(ends[1]);
}

void read_lists_of_groups(Input& input) {
  for (const GroupHierarchy& one : group_hierarchies(input.ConsumeRandomLengthString(kLongText))) {
    require(one.top.ends_with("/cgroup.procs"));
  }
  group_that_binds(input.ConsumeRandomLengthString(kLongText));
}

void read_a_curve(Input& input) {
  FanChannel fan;
  fan.device = "devices/d";
  fan.chip = "c";
  fan.channel = 1;
  std::string wrong;
  std::string text =
      input.ConsumeBool() ? "vorn fan curve 1\ndevice devices/d\nchip c\nfan 1\n" : "";
  text += input.ConsumeRandomLengthString(kLongText);
  if (const auto curve = parse_curve(text, fan, wrong)) {
    require(parse_curve(curve_text(fan, *curve), fan, wrong).has_value());
    for (int pwm = 0; pwm <= kFullPwm; pwm += 5) {
      const double rpm = curve->rpm_at(pwm);
      require(rpm > 0 && curve->pwm_for(rpm) >= 1 && curve->pwm_for(rpm) <= kFullPwm);
    }
  } else {
    require(!wrong.empty());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  constexpr std::array kTexts = {give_back_a_journal, read_a_written_line, hear_a_message,
                                 read_lists_of_groups, read_a_curve};
  kTexts.at(input.ConsumeIntegralInRange<std::size_t>(0, kTexts.size() - 1))(input);
  return 0;
}
