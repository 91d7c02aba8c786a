#pragma once

#include <cstddef>

#include "lab/data/stimulus.h"
#include "lab/folder/record_line.h"

namespace lab {

/// Keeps what the records of a run's engines say edge by edge, of the first minutes alone: in
/// bounded memory, however long the run was.
class StimulusReader {
 public:
  /// Keeps up to `most` lines of each kind.
  explicit StimulusReader(std::size_t most = 250'000) : most_(most) {}

  void add(const RecordLine& line);

  /// What the lines so far say.
  Stimulus stimulus() const;

 private:
  template <class Event>
  void keep(std::vector<Event>& events, Event event);

  std::size_t most_;
  Stimulus found_;
};

}  // namespace lab
