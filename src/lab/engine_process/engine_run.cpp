#include "lab/engine_process/engine_run.h"

#include <fcntl.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <utility>

#include "lab/engine_process/engine_error.h"
#include "lab/engine_process/machine.h"
#include "lab/engine_process/programs.h"
#include "lab/engine_process/segments.h"

namespace lab {

namespace {

// The engine's files are opened here, with the rights of the user who called, and handed on: an
// engine that root starts would open whatever a name leads to by then.
Descriptor open_file(const std::filesystem::path& path) {
  constexpr mode_t kMode = 0666;
  Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kMode));
  if (file.number() < 0) {
    throw EngineError(path.string() + ": " + std::strerror(errno));
  }
  return file;
}

std::vector<Descriptor> open_to_read(const EngineRun::Start& start) {
  std::vector<Descriptor> files;
  for (const NamedFile& named : start.read) {
    const std::string path = start.arguments[named.word].substr(named.begin);
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.number() < 0) {
      throw EngineError(path + ": " + std::strerror(errno));
    }
    files.push_back(std::move(file));
  }
  return files;
}

std::string name_of(const Descriptor& file) {
  return "/dev/fd/" + std::to_string(file.number());
}

std::vector<std::string> with_files(std::vector<std::string> arguments, const std::string& samples,
                                    const std::string& record) {
  arguments.insert(arguments.end(), {"-o", samples, "--record", record});
  return arguments;
}

/// The arguments with descriptors in place of the files that the engine is to read.
std::vector<std::string> with_descriptors(const EngineRun::Start& start,
                                          const std::vector<Descriptor>& files) {
  std::vector<std::string> arguments = start.arguments;
  for (std::size_t index = 0; index < files.size(); ++index) {
    const NamedFile& named = start.read[index];
    arguments[named.word].replace(named.begin, std::string::npos, name_of(files[index]));
  }
  return arguments;
}

std::vector<int> kept(const Descriptor& samples, const Descriptor& record,
                      const std::vector<Descriptor>& read) {
  std::vector<int> numbers{samples.number(), record.number()};
  for (const Descriptor& file : read) {
    numbers.push_back(file.number());
  }
  return numbers;
}

}  // namespace

EngineRun::EngineRun(const Start& start)
    : samples_file_(open_file(start.samples)),
      record_file_(open_file(start.record)),
      read_files_(open_to_read(start)),
      engine_({.program = find_program(machine().engine),
               .arguments = with_files(with_descriptors(start, read_files_), name_of(samples_file_),
                                       name_of(record_file_)),
               .as_root = start.as_root,
               .kept = kept(samples_file_, record_file_, read_files_)}),
      samples_(start.samples),
      record_(start.record),
      rows_(start.origin),
      steered_(start.steered) {
  own_names_ = {{name_of(samples_file_), start.samples.string()},
                {name_of(record_file_), start.record.string()}};
  for (std::size_t index = 0; index < read_files_.size(); ++index) {
    const NamedFile& named = start.read[index];
    own_names_.emplace_back(name_of(read_files_[index]),
                            start.arguments[named.word].substr(named.begin));
  }
}

bool refused_start(int status) {
  constexpr int kFirst = 10;
  constexpr int kLast = 14;
  constexpr int kWrongOptions = 255;
  return (status >= kFirst && status <= kLast) || status == kWrongOptions ||
         status == Child::kNotStarted;
}

std::string refusal(const std::vector<std::string>& complaints,
                    const std::vector<std::string>& notes) {
  const auto joined = [](const std::vector<std::string>& lines) {
    std::string reason;
    for (const std::string& line : lines) {
      if (line != "--help lists the options") {
        reason += (reason.empty() ? "" : "; ") + line;
      }
    }
    return reason;
  };
  const std::string reason = joined(complaints);
  return reason.empty() ? joined(notes) : reason;
}

std::string with_name(std::string line, const std::string& descriptor, const std::string& name) {
  for (std::size_t at = line.find(descriptor); at != std::string::npos;
       at = line.find(descriptor, at)) {
    const std::size_t behind = at + descriptor.size();
    const bool longer =
        behind < line.size() && std::isdigit(static_cast<unsigned char>(line[behind])) != 0;
    if (!longer) {
      line.replace(at, descriptor.size(), name);
    }
    at += longer ? descriptor.size() : name.size();
  }
  return line;
}

std::vector<std::string> EngineRun::command(const Start& start) {
  std::vector<std::string> command =
      with_files(start.arguments, start.samples.string(), start.record.string());
  command.insert(command.begin(), machine().engine);
  return command;
}

void EngineRun::steer(const Drive& drive, const std::string& forcing) {
  engine_.write(forcing + steering(drive));
}

void EngineRun::end() {
  if (!steered_ || !engine_.write("end\n")) {
    engine_.close_input();
  }
}

void EngineRun::poll() {
  const bool over = engine_.status().has_value();
  samples_.read([&](std::string_view line) { rows_.add_sample(line); });
  record_.read([&](std::string_view text) {
    const RecordLine line(text);
    rows_.add_record(line);
    if (line.keyword() == "asked") {
      asked_ns_.push_back(line.whole(0).value_or(0));
    } else if (line.keyword() == "program") {
      version_ = line.text(1);
    } else if (line.keyword() == "end") {
      end_reason_ = line.text(2);
    }
  });
  take_errors();
  ended_ = over;
}

std::vector<SampleRow> EngineRun::take_rows() {
  return rows_.take(ended_);
}

std::optional<std::int64_t> EngineRun::asked_ns(std::size_t index) const {
  return index < asked_ns_.size() ? std::optional(asked_ns_[index]) : std::nullopt;
}

std::optional<int> EngineRun::status() {
  return ended_ ? engine_.status() : std::nullopt;
}

std::string EngineRun::end_reason() const {
  if (!end_reason_.empty()) {
    return end_reason_;
  }
  return refusal(complaints_, notes_);
}

std::vector<std::string> EngineRun::take_notes() {
  return std::exchange(notes_, {});
}

void EngineRun::take_errors() {
  std::string output;  // an engine that was asked for nothing there writes nothing there
  engine_.read_output(output);
  engine_.read_errors(errors_);
  const std::string name = std::string(machine().engine) + ": ";
  for (std::size_t end = errors_.find('\n'); end != std::string::npos; end = errors_.find('\n')) {
    std::string line = errors_.substr(0, end);
    for (const auto& [descriptor, own] : own_names_) {
      line = with_name(std::move(line), descriptor, own);
    }
    errors_.erase(0, end + 1);
    if (const std::size_t at = line.find(name); at != std::string::npos) {
      line.erase(0, at + name.size());
    }
    constexpr std::string_view kNote = "note: ";
    if (line.starts_with(kNote)) {
      notes_.push_back(line.substr(kNote.size()));
    } else if (line != "Power balancing restored" && line != "Fans restored") {
      notes_.push_back(line);  // those two are how an orderly run ends
      complaints_.push_back(line);
    }
  }
}

}  // namespace lab
