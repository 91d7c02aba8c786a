#pragma once

#include <getopt.h>

#include <vector>

/// What another program on this core takes beside vorn's options, or reads in its own way.
/// Thread: the main one, within parse_options().
class OptionExtension {
 public:
  enum class Reading {
    kNotMine,  ///< vorn reads it
    kTaken,
    kRefused,  ///< the extension has said why
  };

  OptionExtension() = default;
  OptionExtension(const OptionExtension&) = delete;
  OptionExtension& operator=(const OptionExtension&) = delete;
  virtual ~OptionExtension() = default;

  /// Long options beyond vorn's, each with a `val` above 255 of its own.
  virtual std::vector<option> long_options() const = 0;

  /// Reads an option, vorn's too, before vorn does: `code` is what getopt_long() returned, and
  /// `argument` the option's, or null.
  virtual Reading read(int code, const char* argument) = 0;
};
