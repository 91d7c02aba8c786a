#include "machines/linux/guardian/message.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace linux_machine {

bool send_message(int socket, Word word, std::int64_t number, std::string_view text) {
  Message message;
  if (text.size() > Message::kMostText) {
    return false;
  }
  message.word = word;
  message.length = static_cast<std::uint16_t>(text.size());
  message.number = number;
  text.copy(message.characters.data(), text.size());
  const std::size_t size = offsetof(Message, characters) + text.size();
  ssize_t sent = -1;
  do {
    sent = send(socket, &message, size, MSG_DONTWAIT | MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent == static_cast<ssize_t>(size);
}

Heard receive_message(int socket, Message& message) {
  ssize_t got = -1;
  do {
    got = recv(socket, &message, sizeof message, MSG_DONTWAIT);
  } while (got < 0 && errno == EINTR);
  if (got < 0) {
    return errno == EAGAIN ? Heard::nothing : Heard::end;
  }
  constexpr std::size_t kHead = offsetof(Message, characters);
  const auto size = static_cast<std::size_t>(got);
  if (size < kHead || size - kHead != message.length) {
    return Heard::end;  // of a length that nobody sends: an empty one is the end of the stream
  }
  return Heard::message;
}

void wait_for_message(int socket, int patience_ms) {
  pollfd one{.fd = socket, .events = POLLIN, .revents = 0};
  poll(&one, 1, patience_ms);
}

}  // namespace linux_machine
