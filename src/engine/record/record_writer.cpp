#include "engine/record/record_writer.h"

#include <sched.h>

#include <algorithm>
#include <utility>

#include "engine/record/clock_reading.h"
#include "engine/record/line.h"
#include "engine/record/record_head.h"
#include "engine/record/record_parts.h"

namespace {

constexpr int kRoundMs = 100;  // a round finds some hundred edges at most, and disturbs no one
constexpr std::int64_t kLookNs = 1000000000;         // at the machine's counters
constexpr std::int64_t kLongestHeldNs = 1000000000;  // lines, for the sake of an on phase
constexpr std::size_t kMostHeld = 1U << 18U;         // bytes of lines

std::int64_t now_ns() {
  return clock_reading().monotonic_ns;
}

const char* policy_name(int policy) {
  switch (policy) {
    case SCHED_FIFO:
      return "fifo";
    case SCHED_RR:
      return "rr";
    case SCHED_OTHER:
      return "ordinary";
    default:
      return "other";
  }
}

}  // namespace

RecordWriter::RecordWriter(RecordParts& parts)
    : parts_(parts),
      counters_(parts.plan.sys),
      begun_(parts.threads.size()),
      bursts_dropped_(parts.threads.size()) {
  text_.reserve(2 * kMostHeld);
}

void RecordWriter::write_until_the_end() {
  append_head(text_, parts_.plan, parts_.made);
  say_processors(now_ns());
  write_out();
  std::int64_t looked_ns = now_ns();
  while (!parts_.ending.wait(kRoundMs)) {
    take_all();
    if (now_ns() - looked_ns >= kLookNs) {
      looked_ns += kLookNs;
      look_at_the_machine();
    }
    write_if_due();
  }
  take_all();
  look_at_the_machine();
  say_end();
  write_out();
}

void RecordWriter::take_all() {
  take_words();
  take_thread_begins();
  take_start();
  take_asked();
  take_edges();
  take_bursts();
  take_samples();
  say_what_was_dropped();
}

void RecordWriter::take_words() {
  for (Word word; parts_.words.pop(word);) {
    const std::string_view text = word.view();
    switch (word.kind) {
      case Word::Kind::refused:
        Line(text_, "refused")
            .add(word.at_ns)
            .add(text.substr(0, word.what))
            .add(text.substr(word.what));
        break;
      case Word::Kind::forced:
        Line(text_, "forced")
            .add(word.at_ns)
            .add(text.substr(0, word.what))
            .add(text.substr(word.what));
        break;
      case Word::Kind::error:
        Line(text_, "error").add(word.at_ns).add(word.thread).add(word.processor).add(text);
        break;
    }
  }
}

void RecordWriter::take_thread_begins() {
  for (const auto& thread : parts_.threads) {
    if (!begun_[thread->index()] && thread->state() != ThreadRecord::State::expected) {
      begun_[thread->index()] = true;
      Line(text_, "thread")
          .add(thread->index())
          .add(thread->id())
          .add(thread->load())
          .add(thread->bound_to())
          .add(policy_name(thread->policy()))
          .add(thread->priority());
    }
  }
}

void RecordWriter::take_start() {
  if (start_said_) {
    return;
  }
  if (const auto start = parts_.edges.start()) {
    start_said_ = true;
    Line(text_, "start")
        .add(start->wanted_wall_ns)
        .add(start->planned_ns)
        .add(start->switched_ns)
        .add(start->switched_wall_ns - start->wanted_wall_ns);
  }
}

void RecordWriter::take_asked() {
  for (AskedEvent asked{}; parts_.edges.asked().pop(asked);) {
    Line(text_, "asked")
        .add(asked.at_ns)
        .add(asked.shape)
        .add(asked.hz)
        .add(asked.offset)
        .add(asked.depth);
  }
}

void RecordWriter::take_edges() {
  for (EdgeEvent edge; parts_.edges.events().pop(edge);) {
    Line(text_, "edge").add(edge.planned_ns).add(edge.switched_ns).add(edge.active ? "on" : "off");
    if (text_.size() > kMostHeld) {
      write_out();
    }
  }
}

void RecordWriter::take_bursts() {
  for (const auto& thread : parts_.threads) {
    for (BurstEvent burst; thread->events().pop(burst);) {
      switch (burst.kind) {
        case BurstEvent::Kind::left:
          Line(text_, "left").add(burst.at_ns).add(thread->index()).add(burst.processor);
          break;
        case BurstEvent::Kind::entered:
          Line(text_, "entered").add(burst.at_ns).add(thread->index()).add(burst.processor);
          break;
        case BurstEvent::Kind::held_up:
          Line(text_, "gap")
              .add(burst.at_ns)
              .add(thread->index())
              .add(burst.processor)
              .add(burst.until_ns - burst.at_ns);
          break;
      }
      if (text_.size() > kMostHeld) {
        write_out();
      }
    }
  }
}

void RecordWriter::take_samples() {
  for (SampleEvent sample{}; parts_.samples.pop(sample);) {
    if (sample.thread == SampleEvent::kTheSample) {
      Line(text_, "sample").add(sample.at_ns).add(sample.elapsed_s);
    } else {
      if (sample.processor_time_ns >= 0) {
        Line(text_, "time").add(sample.at_ns).add(sample.thread).add(sample.processor_time_ns);
      }
      if (sample.counts) {
        Line(text_, "work")
            .add(sample.at_ns)
            .add(sample.thread)
            .add(sample.work.operations)
            .add(sample.work.bytes);
      }
    }
  }
}

bool RecordWriter::more_dropped(std::uint64_t dropped, std::uint64_t& known) {
  if (dropped == known) {
    return false;
  }
  parts_.events_dropped += dropped - known;
  known = dropped;
  return true;
}

void RecordWriter::say_what_was_dropped() {
  if (more_dropped(parts_.edges.events().dropped(), edges_dropped_)) {
    Line(text_, "dropped").add("edge").add(edges_dropped_);
  }
  if (more_dropped(parts_.edges.asked().dropped(), asked_dropped_)) {
    Line(text_, "dropped").add("asked").add(asked_dropped_);
  }
  if (more_dropped(parts_.samples.dropped(), samples_dropped_)) {
    Line(text_, "dropped").add("sample").add(samples_dropped_);
  }
  if (more_dropped(parts_.words.dropped(), words_dropped_)) {
    Line(text_, "dropped").add("word").add(words_dropped_);
  }
  for (const auto& thread : parts_.threads) {
    if (more_dropped(thread->events().dropped(), bursts_dropped_[thread->index()])) {
      Line(text_, "dropped")
          .add("burst")
          .add(bursts_dropped_[thread->index()])
          .add(thread->index());
    }
  }
}

void RecordWriter::look_at_the_machine() {
  append_clocks(text_, clock_reading());
  for (const auto& thread : parts_.threads) {
    if (thread->state() != ThreadRecord::State::expected) {
      say_use(*thread, now_ns());
    }
  }
  say_processors(now_ns());
}

void RecordWriter::say_use(const ThreadRecord& thread, std::int64_t at_ns) {
  const bool over = thread.state() == ThreadRecord::State::over;
  const auto use = over ? thread.final_use() : processor_use_of(parts_.plan.proc, thread.id());
  if (use) {
    Line(text_, "use")
        .add(at_ns)
        .add(thread.index())
        .add(use->time_ns)
        .add(use->waited_ns)
        .add(use->voluntary)
        .add(use->involuntary);
  }
  if (const auto work = thread.work()) {
    Line(text_, "work").add(at_ns).add(thread.index()).add(work->operations).add(work->bytes);
  }
}

void RecordWriter::say_processors(std::int64_t at_ns) {
  for (const ProcessorClock& clock : counters_.clocks()) {
    Line(text_, "frequency").add(at_ns).add(clock.processor).add(clock.khz);
  }
  std::vector<Throttles> throttles = counters_.throttles();
  for (const Throttles& counts : throttles) {
    if (std::find(throttles_.begin(), throttles_.end(), counts) == throttles_.end()) {
      Line(text_, "throttled")
          .add(at_ns)
          .add(counts.processor)
          .add(counts.core.value_or(-1))
          .add(counts.package.value_or(-1));
    }
  }
  throttles_ = std::move(throttles);
}

void RecordWriter::say_end() {
  Line(text_, "lost").add(parts_.events_dropped.load()).add(parts_.file->lines_lost());
  Line(text_, "end").add(now_ns()).add(parts_.status).add(parts_.reason);
}

void RecordWriter::write_if_due() {
  const bool on = parts_.plan.active != nullptr && *parts_.plan.active;
  if (!on || text_.size() > kMostHeld || now_ns() - written_ns_ > kLongestHeldNs) {
    write_out();
  }
}

void RecordWriter::write_out() {
  written_ns_ = now_ns();
  if (!text_.empty()) {
    parts_.file->write(text_);
    text_.clear();
  }
}
