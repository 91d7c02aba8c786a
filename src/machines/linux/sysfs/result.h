#pragma once

#include <string>
#include <utility>
#include <variant>

namespace sysfs {

/// Why something is not known or not done. It says what happened: nobody decides by an errno value
/// what one of these says. The first four are an attribute's, and none of them is a zero.
enum class Trouble {
  absent,    ///< there is no such file
  refused,   ///< it is there, and this user may not
  silent,    ///< the driver behind it gave an error, or nothing, or does not do what it accepted
  nonsense,  ///< it answered, and no machine can be like that

  held,         ///< another run, or another program, has it
  unsupported,  ///< the hardware cannot
  given_back,   ///< the guardian has given it back: this run changes it no more
  bad_value,    ///< of the caller's: there is no such fan, speed or P-state
};

/// `message` is for the user and names the attribute:
/// "reading class/hwmon/hwmon0/temp1_input: No data available".
struct Failure {
  Trouble trouble = Trouble::silent;
  std::string message;
  int error = 0;  ///< errno of the kernel's call that failed; 0 if none did
};

/// The one place that turns errno into trouble and text. `action` is "reading", "writing", ...
Failure failure(const char* action, const std::string& path, int error);

/// An answer that cannot be: "reading <path>: <what is wrong with it>".
Failure nonsense(const std::string& path, const std::string& why);

struct Done {};  ///< the value of an operation that has none

/// A value, or why there is none.
template <class Value>
class Result {
 public:
  // Implicit both ways, so that a function returns either as it is.
  Result(Value value) : content_(std::move(value)) {}
  Result(Failure failure) : content_(std::move(failure)) {}

  explicit operator bool() const { return std::holds_alternative<Value>(content_); }

  /// Requires: there is a value.
  Value& operator*() { return *std::get_if<Value>(&content_); }
  const Value& operator*() const { return *std::get_if<Value>(&content_); }
  Value* operator->() { return std::get_if<Value>(&content_); }
  const Value* operator->() const { return std::get_if<Value>(&content_); }

  /// Requires: there is none.
  const Failure& failure() const { return *std::get_if<Failure>(&content_); }

 private:
  std::variant<Value, Failure> content_;
};

}  // namespace sysfs
