#include "lab/commands/stop_request.h"

#include <csignal>
#include <initializer_list>

namespace lab {

namespace {

volatile std::sig_atomic_t requests = 0;

extern "C" void count_request(int /*signal*/) {
  requests = requests + 1;
}

}  // namespace

void listen_for_stop_requests() {
  struct sigaction action {};
  action.sa_handler = count_request;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) {  // as under nohup
      sigaction(signal, &action, nullptr);
    }
  }
  std::signal(SIGPIPE, SIG_IGN);  // an engine that has ended takes no more lines
}

int stop_requests() {
  return requests;
}

}  // namespace lab
