#include "lab/report/plot.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "lab/folder/whole_file.h"
#include "lab/plan/plan_error.h"
#include "lab/report/figure.h"
#include "lab/report/gnuplot_process.h"
#include "lab/report/gnuplot_script.h"

namespace lab {

namespace {

/// Points of one series: two for each pixel of a wide picture.
constexpr std::size_t kMostInAPicture = 4000;

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

Picture picture_of(const std::string& path) {
  const std::string name = lower(path);
  if (name.ends_with(".png")) {
    return Picture::png;
  }
  if (name.ends_with(".svg")) {
    return Picture::svg;
  }
  if (name.ends_with(".pdf")) {
    return Picture::pdf;
  }
  throw PlanError("cannot tell the kind of picture from the name " + path +
                  " (let it end in .png, .svg or .pdf)");
}

std::optional<std::size_t> whole_number(const std::string& text) {
  std::size_t number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
  return end.ec == std::errc() && end.ptr == text.data() + text.size()
             ? std::optional<std::size_t>(number)
             : std::nullopt;
}

std::string offered(const std::vector<Figure>& all) {
  std::string text;
  for (std::size_t i = 0; i < all.size(); ++i) {
    text += (i == 0 ? "" : "; ") + std::to_string(i + 1) + " " + all[i].chart.title;
  }
  return text;
}

/// The figures whose title is `which`, or else those whose title begins with it, or else those that
/// have it anywhere in theirs.
std::vector<Figure> called(const std::vector<Figure>& all, const std::string& which) {
  enum class Fit { is_it, begins_with_it, has_it };
  for (const Fit fit : {Fit::is_it, Fit::begins_with_it, Fit::has_it}) {
    std::vector<Figure> found;
    for (const Figure& figure : all) {
      const std::size_t at = lower(figure.chart.title).find(lower(which));
      const bool whole = figure.chart.title.size() == which.size();
      if (at != std::string::npos && (fit == Fit::has_it || at == 0) &&
          (fit != Fit::is_it || whole)) {
        found.push_back(figure);
      }
    }
    if (!found.empty()) {
      return found;
    }
  }
  return {};
}

/// The figures of the samples; or the one that is asked for. Throws PlanError if several are.
std::vector<Figure> chosen_of(const std::vector<Figure>& all, const std::string& which) {
  std::vector<Figure> chosen;
  if (which.empty()) {
    std::copy_if(all.begin(), all.end(), std::back_inserter(chosen),
                 [](const Figure& figure) { return figure.of_samples; });
    return chosen;
  }
  if (const std::optional<std::size_t> wanted = whole_number(which)) {
    if (*wanted >= 1 && *wanted <= all.size()) {
      chosen.push_back(all[*wanted - 1]);
    }
    return chosen;
  }
  chosen = called(all, which);
  if (chosen.size() > 1) {
    throw PlanError("\"" + which +
                    "\" fits several charts (choose one by its number: " + offered(all) + ")");
  }
  return chosen;
}

}  // namespace

void plot(const Run& run, const Answer& answer, const std::string& path, const std::string& which) {
  const Picture picture = picture_of(path);
  const std::vector<Figure> all = figures(run, answer, kMostInAPicture);
  const std::vector<Figure> chosen = chosen_of(all, which);
  if (all.empty()) {
    throw PlotError("the run has no samples, so there is nothing to draw");
  }
  if (chosen.empty()) {
    throw PlanError(which.empty()
                        ? "the run has no samples over time (choose a chart: " + offered(all) + ")"
                        : "there is no chart \"" + which + "\" (there are: " + offered(all) + ")");
  }
  write_whole(path, run_gnuplot(gnuplot_script(chosen, picture)));
}

}  // namespace lab
