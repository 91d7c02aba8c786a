#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "lab/data/table.h"
#include "lab/folder/run_info.h"
#include "lab/folder/sample_rows.h"

namespace lab {

/// The samples of a run as a live view shows them: each as soon as it is there, with the load as
/// far as it is known by then. Samples of long ago are dropped, so that days fit into memory.
class LiveTable {
 public:
  explicit LiveTable(const std::vector<KeyInfo>& keys);

  /// Adds the newest sample, unless it is there already. `others` is the load of everybody else.
  void add(const SampleRow& newest, double others);

  /// The load that was asked for and the load that was delivered, both at the newest instant for
  /// which that is known: `time_s`, as samples have it.
  void set_load(double time_s, double asked, double delivered) {
    load_time_s_ = time_s;
    asked_ = asked;
    delivered_ = delivered;
  }

  /// How long before the newest sample the load is from; 0: none is known.
  double load_age_s() const {
    return load_time_s_ && !table_.time_s.empty() ? table_.time_s.back() - *load_time_s_ : 0;
  }

  const Table& table() const { return table_; }

  /// How many samples there have been, dropped ones too.
  std::size_t added() const { return dropped_ + table_.time_s.size(); }

  /// The row of sample number `number`, from 0, or the oldest one if that has been dropped.
  std::size_t row_of(std::size_t number) const { return number > dropped_ ? number - dropped_ : 0; }

 private:
  Table table_;
  std::size_t dropped_ = 0;
  std::optional<double> load_time_s_;
  double asked_;
  double delivered_;
};

}  // namespace lab
