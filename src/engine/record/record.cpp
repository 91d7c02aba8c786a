#include "engine/record/record.h"

#include <pthread.h>

#include <csignal>
#include <cstring>
#include <utility>

#include "Process/capabilities.h"
#include "engine/record/clock_reading.h"
#include "engine/record/record_parts.h"
#include "engine/record/record_writer.h"
#include "vorn/ordinary_thread.h"

namespace {

// Long enough for a disk that is busy with the run's own lines; a run must come to its end.
constexpr int kLongestEndMs = 2000;

/// The body of the writer's thread. `parts` is a pointer to its share, made for it.
void* write_record(void* parts) {
  process::keep_capabilities(process::kNoCapabilities);
  const std::unique_ptr<std::shared_ptr<RecordParts>> share(
      static_cast<std::shared_ptr<RecordParts>*>(parts));
  RecordWriter(**share).write_until_the_end();
  (*share)->written.set();
  return nullptr;
}

/// Starts the writer with every signal blocked: signals are for the run's own listener, and a pipe
/// whose reader has gone is an error of the write.
bool start_writer(std::shared_ptr<RecordParts>* share) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pthread_t writer{};
  const bool started = start_ordinary_thread(writer, write_record, share);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (started) {
    pthread_detach(writer);
  }
  return started;
}

/// A word of two texts, said now.
Word word_of(Word::Kind kind, std::string_view what, std::string_view more) noexcept {
  Word word;
  word.kind = kind;
  word.at_ns = clock_reading().monotonic_ns;
  word.append(what);
  word.what = word.length;
  word.append(more);
  return word;
}

}  // namespace

Record::Record(RecordPlan plan) : Record(std::move(plan), nullptr) {}

Record::Record(RecordPlan plan, std::unique_ptr<RecordFile> file)
    : parts_(std::make_shared<RecordParts>(std::move(plan), std::move(file))) {
  auto share = std::make_unique<std::shared_ptr<RecordParts>>(parts_);
  if (!start_writer(share.get())) {
    throw RecordError(parts_->plan.path + ": the record's writer could not be started");
  }
  static_cast<void>(share.release());  // the thread's
}

Record::~Record() {
  finish("nothing was said about the end", -1);
}

EdgeObserver& Record::edge_observer() {
  return parts_->edges;
}

ThreadRecord& Record::thread(unsigned index) {
  return *parts_->threads.at(index);
}

void Record::start_agreed(std::int64_t wall_ns, std::int64_t planned_ns) noexcept {
  parts_->edges.start_agreed(wall_ns, planned_ns);
}

void Record::asked(const AskedEvent& asked) noexcept {
  parts_->edges.asked().push(asked);
}

void Record::sample_taken(double elapsed_s) noexcept {
  parts_->samples.push({.thread = SampleEvent::kTheSample,
                        .at_ns = clock_reading().monotonic_ns,
                        .elapsed_s = elapsed_s,
                        .processor_time_ns = -1,
                        .counts = false,
                        .work = {}});
  for (const auto& thread : parts_->threads) {
    if (thread->state() != ThreadRecord::State::expected) {
      const std::optional<Work> work = thread->work();
      parts_->samples.push({.thread = static_cast<std::int32_t>(thread->index()),
                            .at_ns = clock_reading().monotonic_ns,
                            .elapsed_s = elapsed_s,
                            .processor_time_ns = thread->processor_time_ns().value_or(-1),
                            .counts = work.has_value(),
                            .work = work.value_or(Work{})});
    }
  }
}

void Record::refused(std::string_view what, std::string_view why) noexcept {
  parts_->words.push(word_of(Word::Kind::refused, what, why));
}

void Record::forced(std::string_view what, std::string_view value) noexcept {
  parts_->words.push(word_of(Word::Kind::forced, what, value));
}

void Record::load_error(unsigned thread, int processor, std::int64_t at_ns,
                        std::string_view text) noexcept {
  Word word;
  word.kind = Word::Kind::error;
  word.at_ns = at_ns;
  word.thread = thread;
  word.processor = processor;
  word.append(text);
  parts_->words.push(word);
}

RecordLosses Record::finish(std::string_view reason, int status) {
  if (!finished_) {
    finished_ = true;
    parts_->reason = reason;
    parts_->status = status;
    parts_->ending.set();
    if (!parts_->written.wait(kLongestEndMs)) {
      parts_->file->give_up();
      parts_->written.wait(kLongestEndMs / 4);  // a pipe's writer comes to its end then
    }
  }
  RecordLosses losses;
  losses.events = parts_->events_dropped;
  losses.lines = parts_->file->lines_lost();
  losses.complete = parts_->written.wait(0);
  if (!losses.complete) {
    losses.reason = "the file took too long";
  } else if (const int error = parts_->file->reason(); error != 0) {
    losses.reason = std::strerror(error);
  }
  return losses;
}
