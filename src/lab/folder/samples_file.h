#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "lab/data/table.h"

namespace lab {

/// samples.csv: a head with the names of the columns, then a line for each instant, with commas
/// between. A value that was not measured is an empty cell. A name with a comma, a quote or a new
/// line in it stands in quotes, and its quotes twice (RFC 4180).

/// Writes samples.csv while a run goes on, a whole line at a time.
class SamplesWriter {
 public:
  /// Creates the file, or empties it. Throws FolderError.
  SamplesWriter(std::filesystem::path path, const std::vector<std::string>& columns);

  /// Adds a line. Once the file has refused one, as on a full disk, it adds no more.
  void add(double time_s, const std::vector<double>& values);

  /// How many lines the file did not take.
  std::size_t lost() const { return lost_; }

  /// Why it did not take the first of those, such as "No space left on device".
  const std::string& refusal() const { return refusal_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::filesystem::path path_;
  std::unique_ptr<std::FILE, Close> file_;
  std::size_t lost_ = 0;
  std::string refusal_;
};

/// The table in a text of that form. A last line that is not whole is left out. Units and sources
/// are not in it. Throws FolderError, naming `name` and the line, for a text of another form.
Table parse_samples(std::string_view text, const std::string& name);

}  // namespace lab
