#pragma once

#include <toml++/toml.h>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "lab/plan/plan.h"

namespace lab {

/// The members of one TOML table of a plan, which are taken one after the other. What is refused is
/// thrown as PlanError, with line and column.
class PlanMembers {
 public:
  /// `file` and `what` ("a phase") stand for the table in messages. Both references must outlive
  /// it.
  PlanMembers(const toml::table& table, const std::string& file, std::string what)
      : table_(table), file_(file), what_(std::move(what)) {}

  [[noreturn]] void refuse(const toml::source_region& where, const std::string& why) const;
  [[noreturn]] void refuse(const std::string& why) const { refuse(table_.source(), why); }

  bool has(const char* name) const { return table_.contains(name); }

  /// The member as it stands; null if there is none.
  const toml::node* take(const char* name) const { return table_.get(name); }

  /// A number within [least, most].
  double number(const char* name, double otherwise, double least, double most);
  int whole_number(const char* name, int otherwise, int least, int most);
  bool flag(const char* name, bool otherwise);
  std::string text(const char* name, const std::string& otherwise);
  std::vector<std::string> texts(const char* name);

  /// "automatic", "maximum", or a speed in RPM, from `least` on.
  std::optional<Fans> fans(int least);

  /// "automatic", which is kAutomaticPState, or the number of a P-state.
  std::optional<int> pstate();

  /// The numbers of a list of lists, each of them `count` long. Says `form` if it is none.
  std::vector<std::vector<double>> rows(const toml::node& node, std::size_t count,
                                        const char* form) const;

  /// Seconds, or a text such as "90 s" or "2m".
  std::optional<double> duration(const char* name);

  /// Refuses the first word that is not among these. To be called before anything is taken: a
  /// wrong word often stands in place of one that is needed.
  void only(std::initializer_list<const char*> known) const;

 private:
  std::string text_of(const toml::node& node, const char* name) const;

  const toml::table& table_;
  const std::string& file_;
  std::string what_;
};

}  // namespace lab
