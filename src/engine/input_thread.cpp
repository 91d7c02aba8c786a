#include "engine/input_thread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <string>
#include <string_view>

#include "Process/capabilities.h"
#include "engine/complaint.h"
#include "engine/forcing.h"
#include "engine/forcing_thread.h"
#include "engine/waveforms/steered.h"
#include "engine/waveforms/steering.h"
#include "engine/waveforms/text_lines.h"
#include "vorn/run_sleep.h"
#include "vorn/settings.h"
#include "vorn/signals.h"

// An ordinary thread would have no turn beside a load of fixed priority on every processor: none
// for 0.95 s of each second on kernels that keep a rest for ordinary threads, and none at all where
// that is switched off. A parent that dies, or says "end", would not be heard. So this thread has a
// fixed priority, and must not take a processor for itself whatever is written to it: it reads
// little at a time, and rests behind that.

namespace engine {

ServiceThread input_thread;

namespace {

constexpr std::size_t kAtATime = 256;    // bytes: some lines
constexpr std::uint32_t kRestUs = 2000;  // so 128 kB a second at most

// Written before the thread starts.
SteeredSource* steered_source = nullptr;
double carrier = 0.0;
Forced& forced_by_run = *new Forced;  // never destroyed: a failed start ends main() meanwhile
int ending = -1;                      // a counter of the kernel's: not 0 when the thread is to end

std::atomic<bool> input_over{false};

enum class Input { says, nothing_yet, over };

/// Reads some of standard input into `text`.
Input read_some(std::array<char, kAtATime>& buffer, std::string_view& text) {
  const ssize_t got = read(STDIN_FILENO, buffer.data(), buffer.size());
  if (got > 0) {
    text = {buffer.data(), static_cast<std::size_t>(got)};
    return Input::says;
  }
  const bool later = got < 0 && (errno == EAGAIN || errno == EINTR);
  return later ? Input::nothing_yet : Input::over;
}

/// Says a line on. Returns whether another one is wanted.
bool take_line(std::string_view line) {
  if (words_of(line).empty()) {
    return true;
  }
  const auto refuse = [line](const std::string& why) {
    complain("standard input " + shown_text(line) + ": " + why + "; it takes " + kForcingTaken +
             ", " + kSteeringTaken);
    return true;
  };
  if (is_forcing(line)) {
    const Parsed<Forcing> forcing = parse_forcing(line, forced_by_run);
    if (!forcing.value) {
      return refuse(forcing.refused);
    }
    say_forcing(*forcing.value);
    return true;
  }
  const Parsed<Steering> steering = parse_steering(line, carrier);
  if (!steering.value) {
    return refuse(steering.refused);
  }
  steered_source->say(*steering.value);
  return steering.value->what != Steering::What::end;
}

/// Takes what standard input says until it ends, a line says "end", or the thread is to end.
/// Returns whether standard input has ended.
bool follow_input() {
  // A terminal is not read unless it is to steer: what is typed is for whoever reads it next.
  const bool reads = steered_source != nullptr || isatty(STDIN_FILENO) == 0;
  const short awaited = reads ? POLLIN : 0;  // its hanging up is told in any case
  SteeringLines lines;
  std::array<char, kAtATime> buffer{};
  for (;;) {
    std::array<pollfd, 2> files{{{.fd = STDIN_FILENO, .events = awaited, .revents = 0},
                                 {.fd = ending, .events = POLLIN, .revents = 0}}};
    if (poll(files.data(), files.size(), -1) < 0 && errno != EINTR) {
      return true;
    }
    if (files[1].revents != 0 || params.terminate) {
      return false;
    }
    std::string_view text;
    const bool said = files[0].revents != 0;
    const Input input = said ? reads ? read_some(buffer, text) : Input::over : Input::nothing_yet;
    if (input == Input::over) {
      return true;
    }
    bool more = true;
    if (steered_source != nullptr) {
      lines.add(text, [&more](std::string_view line) { more = more && take_line(line); });
    }
    if (!more) {
      return false;
    }
    run_sleep(kRestUs);
  }
}

void* listen_to_input(void* /*arg*/) {
  process::keep_capabilities(process::kNoCapabilities);
  if (follow_input() && !params.terminate) {
    input_over = true;
    end_run();
  }
  return nullptr;
}

}  // namespace

int input_thread_priority() {
  return monitor_thread_priority() - 1;
}

int spawn_input(SteeredSource* steered, double carrier_hz, const Forced& forced) {
  steered_source = steered;
  carrier = carrier_hz;
  forced_by_run = forced;
  input_over = false;
  if (ending >= 0) {
    close(ending);
  }
  ending = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (ending < 0) {
    return -1;
  }
  return input_thread.start(listen_to_input, input_thread_priority());
}

void end_input() {
  if (ending >= 0) {
    eventfd_write(ending, 1);
  }
  input_thread.join_within(1);
}

bool input_ended_run() {
  return input_over;
}

}  // namespace engine
