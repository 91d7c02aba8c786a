#include "machines/linux/guardian/guardian_process.h"

#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>
#include <new>

#include "machines/linux/giving_back/line_text.h"
#include "machines/linux/giving_back/put_back.h"
#include "machines/linux/giving_back/standard_error.h"
#include "machines/linux/guardian/apart.h"
#include "machines/linux/guardian/message.h"
#include "machines/linux/watch/fan_watch.h"

// The guardian is forked from a process with threads, so until its end it uses only what is safe
// then: system calls, and memory that was there before.
//
// It counts rounds without a sign of life, and not seconds: when the whole machine stood still (a
// suspended laptop, a stopped virtual machine), both sides did, and one round has passed.

namespace linux_machine {
namespace {

// More than a journal can be: 100 bytes for each of 6 attributes of 1024 policies.
std::array<char, std::size_t{1024} * 1024> journal_room;

alignas(FanWatch) std::array<std::byte, sizeof(FanWatch)> watch_room;

std::int64_t now_ms() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  constexpr std::int64_t kMsPerS = 1000;
  return time.tv_sec * kMsPerS + time.tv_nsec / kNsPerMs;
}

class Guard {
 public:
  explicit Guard(const Birth& birth)
      : birth_(birth), watch_(*new (watch_room.data()) FanWatch(birth.surroundings.sys)) {}

  /// Returns when there is nothing left to watch over.
  void watch_over_run();

 private:
  enum class Run { lives, has_ended };

  Run listen_until(std::int64_t end_ms);
  void heed(const Message& message);
  bool in_danger(LineText& why);
  void show_life() const;
  void give_back(std::string_view said, std::string_view why) const;
  void end_hold() const { flock(birth_.state, LOCK_UN); }

  const Birth& birth_;
  FanWatch& watch_;
  Message message_;
  int silent_rounds_ = 0;
};

void Guard::watch_over_run() {
  for (std::int64_t next_ms = now_ms() + birth_.round_ms;;) {
    if (listen_until(next_ms) == Run::has_ended) {
      give_back(": given back now", {});
      return;
    }
    next_ms = std::max(next_ms, now_ms() - birth_.round_ms) + birth_.round_ms;
    if (LineText why; in_danger(why)) {
      // The run is told first, so that it does not take for its own what is given back.
      send_message(birth_.socket, Word::given_back, 0, why.view().substr(0, Message::kMostText));
      give_back(" are given back: ", why.view());
      end_hold();
      return;
    }
    show_life();
  }
}

Guard::Run Guard::listen_until(std::int64_t end_ms) {
  for (;;) {
    switch (receive_message(birth_.socket, message_)) {
      case Heard::end:
        return Run::has_ended;
      case Heard::message:
        heed(message_);
        continue;
      case Heard::nothing:
        break;
    }
    const std::int64_t left_ms = end_ms - now_ms();
    if (left_ms <= 0) {
      return Run::lives;
    }
    wait_for_message(birth_.socket, static_cast<int>(left_ms));
  }
}

void Guard::heed(const Message& message) {
  silent_rounds_ = -1;  // the round under way does not count
  switch (message.word) {
    case Word::temperature: {
      constexpr double kPerDegree = 1000;
      watch_.watch_temperature(message.text(), static_cast<double>(message.number) / kPerDegree);
      break;
    }
    case Word::fan:
      watch_.watch_fan(message.text(), FanWatch::Reads::each_round, message.number);
      break;
    case Word::slow_fan:
      watch_.watch_fan(message.text(), FanWatch::Reads::seldom, message.number);
      break;
    case Word::forget_fan:
      watch_.forget_fan(message.text());
      break;
    default:
      break;
  }
}

bool Guard::in_danger(LineText& why) {
  if (++silent_rounds_ >= birth_.silent_rounds) {
    why.add("the run has shown no sign of life for 2 s");
    return true;
  }
  return watch_.alarmed(birth_.surroundings.now_ns(), why);
}

/// To the run, and to whoever asks by the file whether its holder lives.
void Guard::show_life() const {
  send_message(birth_.socket, Word::alive);
  futimens(birth_.state, nullptr);
}

/// `said` follows the name of the part, and `why` that.
void Guard::give_back(std::string_view said, std::string_view why) const {
  const ssize_t got = pread(birth_.state, journal_room.data(), journal_room.size(), 0);
  if (got <= 0) {
    return;
  }
  // Made of pointers that are there already: nothing is allocated for it.
  const std::function<void(std::string_view)> report = say_on_standard_error;
  const Surroundings& surroundings = birth_.surroundings;
  const bool all = put_back(surroundings.sys, {journal_room.data(), static_cast<std::size_t>(got)},
                            {.sleep_for = surroundings.sleep_for, .report = report});
  LineText line;
  line.add(why.empty() ? "the run ended without giving back its " : "the ").add(birth_.part);
  if (all) {
    [[maybe_unused]] const int emptied = ftruncate(birth_.state, 0);
    line.add(said).add(why);
  } else {
    line.add(why.empty() ? "" : said).add(why);
    line.add(", and not all could be given back: run vorn-keys --restore");
  }
  say_on_standard_error(line.view());
}

}  // namespace

void guard(const Birth& birth) {
  take_away_from_caller();
  prctl(PR_SET_NAME, "vorn-guardian");
  prctl(PR_SET_DUMPABLE, 0);
  LineText why;
  const bool apart = set_apart(birth.hierarchies, why);
  close_all_but(birth.socket, birth.state);
  if (!apart && !birth.of_root) {
    send_message(birth.socket, Word::refused, 0, why.view());
    _exit(EXIT_FAILURE);
  }
  if (send_message(birth.socket, Word::ready)) {
    Guard(birth).watch_over_run();
  }
  _exit(EXIT_SUCCESS);
}

}  // namespace linux_machine
