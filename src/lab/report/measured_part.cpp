#include "lab/report/clean_text.h"
#include "lab/report/facts.h"
#include "lab/report/html.h"
#include "lab/report/page_parts.h"

namespace lab {

namespace {

std::string list(const std::string& title, const std::vector<Fact>& facts) {
  if (facts.empty()) {
    return "";
  }
  std::string items;
  for (const Fact& fact : facts) {
    items += html::text("dt", fact.name) + html::text("dd", fact.text) + "\n";
  }
  return html::text("h3", title) + html::element("dl", items) + "\n";
}

std::string phases_table(const Run& run) {
  std::vector<std::vector<std::string>> rows;
  for (const PhaseFacts& phase : phase_facts(run)) {
    rows.push_back({html_text(phase.name), html_text(phase.load), html_text(phase.planned),
                    html_text(phase.lasted), html_text(phase.fans), html_text(phase.fan_speeds),
                    html_text(phase.pstate)});
  }
  if (rows.empty()) {
    return "";
  }
  return html::element("h3", "Phases") + html::table("",
                                                     {{.head = "Phase"},
                                                      {.head = "Load"},
                                                      {.head = "Planned"},
                                                      {.head = "Lasted", .number = true},
                                                      {.head = "Fans"},
                                                      {.head = "Fan speeds, as read"},
                                                      {.head = "P-state"}},
                                                     rows);
}

std::string columns_table(const Run& run) {
  std::vector<std::vector<std::string>> rows;
  for (const ColumnFacts& column : column_facts(run)) {
    rows.push_back({html_text(column.name), html_text(column.source), html_text(column.unit),
                    html_text(column.least), html_text(column.mean), html_text(column.largest)});
  }
  if (rows.empty()) {
    return "";
  }
  return html::element("h3", "What was sampled") +
         html::table("",
                     {{.head = "Name"},
                      {.head = "Source"},
                      {.head = "Unit"},
                      {.head = "Least", .number = true},
                      {.head = "Mean", .number = true},
                      {.head = "Largest", .number = true}},
                     rows);
}

}  // namespace

std::string measured_part(const Run& run) {
  return html::element("section id=\"measured\"",
                       html::element("h2", "How it was measured") +
                           list("Machine", machine_facts(run)) + phases_table(run) +
                           list("As delivered", delivery_facts(run)) + columns_table(run)) +
         "\n";
}

std::vector<std::string> all_warnings(const Run& run, const Answer& answer) {
  std::vector<std::string> all = answer.warnings;
  all.insert(all.end(), run.info.warnings.begin(), run.info.warnings.end());
  all.insert(all.end(), run.delivery.errors.begin(), run.delivery.errors.end());
  return all;
}

std::string warnings_part(const Run& run, const Answer& answer) {
  std::string html = html::element("h2", "Warnings");
  std::string items;
  for (const std::string& warning : all_warnings(run, answer)) {
    items += html::text("li", warning);
  }
  html +=
      items.empty() ? html::element("p", "None.") : html::element("ul class=\"warnings\"", items);
  return html::element("section id=\"warnings\"", html) + "\n";
}

}  // namespace lab
