#pragma once

namespace lab {

/// From then on SIGINT, SIGTERM and SIGHUP are taken as a request to end, and to keep what there
/// is. Thread: any; the handlers only count.
void listen_for_stop_requests();

/// How many there have been.
int stop_requests();

}  // namespace lab
