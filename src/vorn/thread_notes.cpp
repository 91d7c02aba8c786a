#include "vorn/thread_notes.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "Host/host.h"

Note note_on_refused_priority() {
  return {NoteKind::priority_refused,
          "this user has no right to a fixed priority; give it to the program (sudo setcap "
          "cap_sys_nice+ep " +
              program_file() + "), to the user from the next login on (a line \"USER - rtprio " +
              std::to_string(host::kControlPriority) +
              "\" in "
              "/etc/security/limits.d/vorn.conf), or to a container (--cap-add sys_nice)"};
}

Note note_on_refused_thread(int error) {
  if (error == EPERM) {
    return note_on_refused_priority();
  }
  return {NoteKind::thread_refused,
          std::string("the thread could not be started: ") + std::strerror(error) +
              "; the number of threads may be limited (ulimit -u, or a container's limit of pids)"};
}
