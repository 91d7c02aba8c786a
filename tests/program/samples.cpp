#include "program/samples.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

Samples parse_samples(const std::string& text) {
  if (!text.empty() && text.back() != '\n') {
    throw std::runtime_error("the last line is not whole: " + text);
  }
  Samples samples;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream columns(line);
    std::vector<double> values;
    for (std::string value; std::getline(columns, value, '\t');) {
      values.push_back(std::stod(value));
    }
    if (!samples.empty() && values.size() != samples.front().size()) {
      throw std::runtime_error("a line of another length: " + line);
    }
    samples.push_back(values);
  }
  return samples;
}

std::string read_file(const std::string& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<double> distances_from_grid(const Samples& samples, double period) {
  std::vector<double> distances;
  for (const auto& sample : samples) {
    distances.push_back(std::abs(sample[0] - period * std::rint(sample[0] / period)));
  }
  std::sort(distances.begin(), distances.end());
  return distances;
}

OpenFolder::OpenFolder() {
  std::string pattern = std::filesystem::temp_directory_path() / "vorn_test_XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr || chmod(pattern.c_str(), 0777) != 0) {
    throw std::runtime_error("cannot make a folder like " + pattern);
  }
  path_ = pattern;
}

OpenFolder::~OpenFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}
