#include <algorithm>

#include "lab/report/clean_text.h"
#include "lab/report/facts.h"
#include "lab/report/html.h"
#include "lab/report/number_text.h"
#include "lab/report/page_parts.h"

namespace lab {

namespace {

std::string cell_html(const ResultTable::Cell& cell) {
  if (const auto* plain = std::get_if<std::string>(&cell)) {
    return html_text(*plain);
  }
  const EstimateText said = estimate_text(std::get<Estimate>(cell));
  std::string html = html::text("span class=\"value\"", with_unit(said.value, said.unit));
  if (!said.interval.empty()) {
    html += " " + html::text("span class=\"interval\"", said.interval);
  }
  return html;
}

bool holds_estimates(const ResultTable& table, std::size_t column) {
  return std::any_of(table.rows.begin(), table.rows.end(), [&](const auto& row) {
    return column < row.size() && std::holds_alternative<Estimate>(row[column]);
  });
}

std::string table_html(const ResultTable& table) {
  std::vector<html::Column> columns;
  for (std::size_t i = 0; i < table.head.size(); ++i) {
    columns.push_back({.head = table.head[i], .number = holds_estimates(table, i)});
  }
  std::vector<std::vector<std::string>> rows;
  for (const auto& row : table.rows) {
    std::vector<std::string> cells;
    std::transform(row.begin(), row.end(), std::back_inserter(cells), cell_html);
    rows.push_back(std::move(cells));
  }
  return html::table(table.title, columns, rows);
}

/// "2026-11-21T20:31:07+01:00" as "2026-11-21 20:31".
std::string day_and_minute(const std::string& instant) {
  constexpr std::size_t kToMinute = 16;
  std::string said = instant.substr(0, kToMinute);
  std::replace(said.begin(), said.end(), 'T', ' ');
  return said;
}

}  // namespace

std::string heading_part(const Run& run, const Answer& answer) {
  const RunInfo& info = run.info;
  std::string about = info.subject.empty() ? html_text(info.processor) : "";
  if (const std::string begun = day_and_minute(info.begun); !begun.empty()) {
    about += (about.empty() ? "" : " · ") + html_text(begun);
  }
  std::string html = html::text("h1", run_title(info));
  if (!about.empty()) {
    html += html::element("p class=\"about\"", about);
  }
  for (const std::string& alarm : alarms(run)) {
    html += html::text("p class=\"alarm\" role=\"alert\"", alarm);
  }
  if (const std::size_t count = all_warnings(run, answer).size(); count > 0) {
    html += html::element("p class=\"hint\"", "<a href=\"#warnings\">" + std::to_string(count) +
                                                  (count == 1 ? " warning" : " warnings") +
                                                  "</a> below");
  }
  return html::element("header", html) + "\n";
}

std::string answer_part(const Answer& answer) {
  if (answer.decided && answer.sentences.empty() && answer.tables.empty()) {
    return "";
  }
  std::string html = html::element("h2", "Answer");
  if (!answer.decided) {
    html += html::text("p class=\"alarm\"", "The data cannot decide this question.");
  }
  bool first = true;
  for (const std::string& sentence : answer.sentences) {
    html += html::text(first ? "p class=\"lead\"" : "p", sentence);
    first = false;
  }
  for (const ResultTable& table : answer.tables) {
    html += table_html(table);
  }
  if (!answer.tables.empty()) {
    html += html::text("p class=\"hint\"", "Ranges hold the truth with a probability of 95 %.");
  }
  return html::element("section id=\"answer\"", html) + "\n";
}

}  // namespace lab
