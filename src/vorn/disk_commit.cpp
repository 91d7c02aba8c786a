#include "vorn/disk_commit.h"

#include <unistd.h>

#include "Process/capabilities.h"
#include "vorn/ordinary_thread.h"

DiskCommit::DiskCommit() {
  sem_init(&changed_, 0, 0);
  started_ = start_ordinary_thread(thread_, commit_lines, this);
}

DiskCommit::~DiskCommit() {
  ending_ = true;
  sem_post(&changed_);
  if (started_) {
    pthread_join(thread_, nullptr);
  }
  sem_destroy(&changed_);
}

void DiskCommit::line_written() {
  if (!started_) {
    sync();
    return;
  }
  ++written_;
  sem_post(&changed_);
}

void* DiskCommit::commit_lines(void* self) {
  process::keep_capabilities(process::kNoCapabilities);
  auto* commit = static_cast<DiskCommit*>(self);
  for (unsigned long committed = 0;;) {
    while (sem_wait(&commit->changed_) != 0) {  // interrupted
    }
    const bool ending = commit->ending_;  // before the lines: after it there are no more
    const unsigned long written = commit->written_;
    if (written != committed) {
      sync();
      committed = written;
    }
    if (ending) {
      return nullptr;
    }
  }
}
