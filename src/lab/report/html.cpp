#include "lab/report/html.h"

#include "lab/report/clean_text.h"

namespace lab::html {

std::string element(std::string_view tag, std::string_view inner) {
  std::string all = "<";
  all.append(tag).append(">").append(inner).append("</");
  all.append(tag.substr(0, tag.find(' '))).append(">");
  return all;
}

std::string text(std::string_view tag, std::string_view plain) {
  return element(tag, html_text(plain));
}

std::string table(std::string_view caption, const std::vector<Column>& columns,
                  const std::vector<std::vector<std::string>>& rows) {
  std::string head;
  for (const Column& column : columns) {
    head +=
        text(column.number ? "th scope=\"col\" class=\"number\"" : "th scope=\"col\"", column.head);
  }
  std::string body;
  for (const std::vector<std::string>& row : rows) {
    std::string cells;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const bool number = i < columns.size() && columns[i].number;
      cells += i == 0 ? element("th scope=\"row\"", row[i])
                      : element(number ? "td class=\"number\"" : "td", row[i]);
    }
    body += element("tr", cells) + "\n";
  }
  const std::string named = caption.empty() ? "" : text("caption", caption);
  return element(
             "div class=\"table\" tabindex=\"0\" role=\"region\"" +
                 (caption.empty() ? std::string() : " aria-label=\"" + html_text(caption) + "\""),
             element("table", named + element("thead", element("tr", head)) + "\n" +
                                  element("tbody", body))) +
         "\n";
}

}  // namespace lab::html
