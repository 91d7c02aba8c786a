#include "vorn/disk_commit.h"

#include <unistd.h>

#include "vorn/ordinary_thread.h"

DiskCommit::DiskCommit() : started_(start_ordinary_thread(thread_, commit_lines, this)) {}

DiskCommit::~DiskCommit() {
  pthread_mutex_lock(&mutex_);
  ending_ = true;
  pthread_cond_signal(&changed_);
  pthread_mutex_unlock(&mutex_);
  if (started_) {
    pthread_join(thread_, nullptr);
  }
}

void DiskCommit::line_written() {
  if (!started_) {
    sync();
    return;
  }
  pthread_mutex_lock(&mutex_);
  ++lines_;
  pthread_cond_signal(&changed_);
  pthread_mutex_unlock(&mutex_);
}

void* DiskCommit::commit_lines(void* self) {
  auto* commit = static_cast<DiskCommit*>(self);
  while (commit->wait_for_a_line()) {
    sync();
  }
  return nullptr;
}

// At the end one commit does for all lines that are left.
bool DiskCommit::wait_for_a_line() {
  pthread_mutex_lock(&mutex_);
  while (lines_ == 0 && !ending_) {
    pthread_cond_wait(&changed_, &mutex_);
  }
  const bool any = lines_ != 0;
  lines_ = ending_ || !any ? 0 : lines_ - 1;
  pthread_mutex_unlock(&mutex_);
  return any;
}
