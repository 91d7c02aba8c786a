#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// What a run and its guardian say to each other, over a socket that keeps messages apart.
namespace linux_machine {

enum class Word : char {
  ready = 'R',        ///< of the guardian: nobody but root can stop it; the machine may be changed
  refused = 'X',      ///< of the guardian, in place of ready: it cannot be one; the text says why
  alive = 'A',        ///< of both, several times a second
  temperature = 'T',  ///< of the run: watch this attribute; the number is critical, millidegrees
  fan = 'F',          ///< of the run: watch this attribute; the number says when it must turn
  slow_fan = 'S',     ///< the same for a chip that stalls the machine when it is read
  forget_fan = 'N',   ///< of the run: it is not forced any more
  given_back = 'G',   ///< of the guardian: it gives everything back now; the text says why
};

struct Message {
  static constexpr std::size_t kMostText = 480;  ///< attributes' paths are half as long

  Word word{};
  std::uint16_t length = 0;
  std::int64_t number = 0;
  std::array<char, kMostText> characters;

  std::string_view text() const { return {characters.data(), length}; }
};

/// Sends without waiting for anybody. False: it was not taken (the other side has ended, or has not
/// listened for long), or the text is too long. Thread: any; allocates nothing.
bool send_message(int socket, Word word, std::int64_t number = 0, std::string_view text = {});

enum class Heard {
  message,
  nothing,  ///< none is there yet
  end,      ///< the other side has ended, and everything that it said has been heard
};

/// Takes the next message, without waiting. Thread: one at a time; allocates nothing.
Heard receive_message(int socket, Message& message);

/// Waits for a message or the end, `patience_ms` at most.
void wait_for_message(int socket, int patience_ms);

}  // namespace linux_machine
