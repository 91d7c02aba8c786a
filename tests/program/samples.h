#pragma once

#include <string>
#include <vector>

/// The lines of a sample file: the time first, then the keys' values.
using Samples = std::vector<std::vector<double>>;

/// Reads samples. Throws std::runtime_error if the last line is not whole, or a line has not as
/// many values as the first.
Samples parse_samples(const std::string& text);

/// The file's contents.
std::string read_file(const std::string& path);

/// How far each time lies from the nearest point of the grid of `period` seconds, in ascending
/// order.
std::vector<double> distances_from_grid(const Samples& samples, double period);

/// A folder of the test's own that any user may write to, removed with everything in it.
class OpenFolder {
 public:
  OpenFolder();
  OpenFolder(const OpenFolder&) = delete;
  OpenFolder& operator=(const OpenFolder&) = delete;
  ~OpenFolder();

  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};
