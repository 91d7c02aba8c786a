#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "lab/folder/record_line.h"

namespace lab {

/// One instant of samples.csv.
struct SampleRow {
  double time_s = 0;         ///< since the first sample of the run
  int phase = 0;             ///< counted from 0: how often the asked duty has changed
  double asked = 0;          ///< load since the sample before; NaN: not known
  double delivered = 0;      ///< load since the sample before; NaN: not known
  std::vector<double> keys;  ///< in the order of the sample file
};

/// Puts together what an engine writes about one instant in two files: the sample file, and the
/// record with the edges and the processor time of its threads. Both name a sample by the seconds
/// since the engine's first one; a file that had no room for a while lacks some. Thread: one.
class SampleRows {
 public:
  struct Origin {
    std::optional<std::int64_t>
        zero_ns;  ///< instant of the run's first sample; nothing: this is it
    int first_phase = 0;
    int processors = 1;  ///< that a load of 1 keeps busy
  };
  explicit SampleRows(Origin origin) : origin_(origin), zero_ns_(origin.zero_ns) {}

  /// A line of the sample file, without its newline.
  void add_sample(std::string_view line);
  void add_record(const RecordLine& line);

  /// The rows of which all has come; with `all`, of whatever there is. The record says late what
  /// happened: some rows of a run that goes on are held back for two seconds.
  std::vector<SampleRow> take(bool all);

  /// The newest line of the sample file, whose row may not be whole yet; its load is NaN.
  const std::optional<SampleRow>& newest() const { return newest_; }

  std::optional<std::int64_t> zero_ns() const { return zero_ns_; }

 private:
  struct Line {
    double seconds;  ///< as the sample file has them
    std::vector<double> values;
  };
  struct Sample {
    std::int64_t instant_ns;
    double seconds;  ///< rounded as in the sample file
  };
  struct Edge {
    std::int64_t instant_ns;
    bool on;
  };
  struct Time {
    std::int64_t instant_ns;
    std::int64_t time_ns;
  };

  std::deque<Sample>::const_iterator sample_of(const Line& line) const;
  std::optional<std::int64_t> first_instant(bool all);
  double on_part(std::int64_t from_ns, std::int64_t to_ns);
  double full_load() const;
  double load(std::int64_t from_ns, std::int64_t to_ns);
  int phase_at(std::int64_t instant_ns);

  Origin origin_;
  std::optional<std::int64_t> zero_ns_;
  std::optional<Sample> engine_zero_;               // this engine's first sample
  std::optional<Sample> last_;                      // the last one that a line was found for
  std::deque<Line> lines_;                          // that have not been taken
  std::deque<Sample> samples_;                      // of the record, likewise
  std::deque<Edge> edges_;                          // from the last one before the last row on
  std::map<std::int64_t, std::deque<Time>> times_;  // by thread
  std::deque<std::int64_t> phases_;                 // instants at which the next phase took effect
  int phase_ = -1;
  std::int64_t newest_ns_ = 0;
  bool waveform_ = false;  // else the load is on from its beginning
  std::optional<std::int64_t> load_began_ns_;
  std::int64_t threads_ = 0;  // of the load; 0: not known
  std::optional<std::int64_t> last_row_ns_;
  std::optional<SampleRow> newest_;
};

}  // namespace lab
