#include "lab/report/gnuplot_script.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lab/report/clean_text.h"
#include "lab/report/ink_style.h"
#include "lab/report/number_text.h"

namespace lab {

namespace {

constexpr int kPictureWidth = 1000;  // pixels
constexpr int kHeightOfOne = 420;
constexpr int kHeightOfMore = 300;
constexpr double kPixelsOfAnInch = 96;
constexpr int kDataDigits = 9;

/// In single quotes gnuplot replaces neither commands in backquotes nor escapes.
std::string plot_quoted(const std::string& text) {
  std::string all = "'";
  for (const char c : clean_text(text)) {
    if (c == '\'') {
      all += "''";
    } else {
      all += c == '\n' || c == '\t' ? ' ' : c;
    }
  }
  return all + "'";
}

std::string number(double value) {
  return std::isfinite(value) ? number_text(value, kDataDigits) : "NaN";
}

std::string terminal(Picture picture, int height) {
  const std::string pixels = std::to_string(kPictureWidth) + "," + std::to_string(height);
  const auto inches = [](int length) { return number_text(length / kPixelsOfAnInch) + "in"; };
  switch (picture) {
    case Picture::png:
      return "pngcairo noenhanced background '#ffffff' fontscale 0.9 size " + pixels;
    case Picture::svg:
      return "svg noenhanced background '#ffffff' size " + pixels;
    case Picture::pdf:
      return "pdfcairo noenhanced background '#ffffff' fontscale 0.6 size " +
             inches(kPictureWidth) + "," + inches(height);
  }
  return "";
}

std::string data_name(std::size_t figure, std::size_t series) {
  return "$figure" + std::to_string(figure) + "_" + std::to_string(series);
}

bool has_band(const Series& series) {
  return series.low.size() == series.x.size() && series.high.size() == series.x.size() &&
         !series.x.empty();
}

std::string data_block(const Series& series, const std::string& name) {
  std::string block = name + " << EOD\n";
  for (std::size_t i = 0; i < series.x.size(); ++i) {
    block += number(series.x[i]) + " " + number(series.y[i]);
    if (has_band(series)) {
      block += " " + number(series.low[i]) + " " + number(series.high[i]);
    }
    block += "\n";
  }
  return block + "EOD\n";
}

std::string dash_type(const std::vector<int>& dashes) {
  if (dashes.empty()) {
    return "solid";
  }
  std::string type;
  for (const int length : dashes) {
    type += (type.empty() ? "(" : ",") + std::to_string(length);
  }
  return type + ")";
}

std::string curve(const Series& series, Ink ink, const std::string& data) {
  const InkStyle style = ink_style(ink);
  const std::string colour = " lc rgb '" + style.colour + "'";
  const bool points = series.style == Series::Style::points;
  const std::string band =
      has_band(series) && !points
          ? data +
                " using 1:3:4 with filledcurves fillstyle transparent solid 0.18 "
                "noborder" +
                colour + " notitle, "
          : "";
  if (points) {
    const std::string bars =
        has_band(series) ? data + " using 1:2:3:4 with yerrorbars pt 0" + colour + " notitle, "
                         : "";
    return bars + data + " using 1:2 with points pt 7 ps 0.4" + colour + " title " +
           plot_quoted(series.name);
  }
  return band + data + " using 1:2 with " +
         (series.style == Series::Style::steps ? "steps" : "lines") + " lw 1.5 dt " +
         dash_type(style.dashes) + colour + " title " + plot_quoted(series.name);
}

/// The whole axis of time, so that the charts of a run have the same one.
std::string range(const Figure& figure) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (const Series& series : figure.chart.series) {
    if (!series.x.empty()) {
      low = std::min(low, series.x.front());
      high = std::max(high, series.x.back());
    }
  }
  return figure.over_time && low < high ? "set xrange [" + number(low) + ":" + number(high) + "]\n"
                                        : "set autoscale xfix\n";
}

std::string phases(const Figure& figure) {
  // Names have some room above the curves.
  std::string all = figure.phases.empty() ? "" : "set offsets 0, 0, graph 0.13, 0\n";
  for (const NamedStretch& phase : figure.phases) {
    const std::string at = number(phase.begin);
    all.append("set arrow from ").append(at).append(", graph 0 to ").append(at);
    all.append(", graph 1 nohead dt (2,3) lc rgb '").append(paper_colour("phase")).append("'\n");
    all.append("set label ").append(plot_quoted(phase.name)).append(" at ").append(at);
    all.append(", graph 0.95 offset character 0.5,0 textcolor rgb '");
    all.append(paper_colour("quiet")).append("'\n");
  }
  return all;
}

/// What stands at 0, 1, ... of an axis of names.
std::string name_tics(const std::vector<std::string>& names) {
  std::string all;
  for (std::size_t at = 0; at < names.size(); ++at) {
    all.append(at == 0 ? "" : ", ").append(plot_quoted(names[at])).append(" " + std::to_string(at));
  }
  return names.empty() ? "" : "set xtics (" + all + ")\n";
}

std::string one(const Figure& figure, std::size_t index) {
  const Chart& chart = figure.chart;
  std::string script =
      "reset\nset datafile missing 'NaN'\nset key outside above left horizontal Left reverse "
      "samplen 2\n";
  script += "set border 3 lc rgb '" + paper_colour("axis") +
            "'\nset tics nomirror textcolor rgb '" + paper_colour("text") + "'\n";
  script += "set grid xtics ytics lt 1 lc rgb '" + paper_colour("grid") + "'\nset lmargin 10\n";
  script += "set key outside above left horizontal Left reverse samplen 2 title " +
            plot_quoted(chart.title) + " left\nset xlabel " + plot_quoted(chart.x_label) +
            "\nset ylabel " + plot_quoted(chart.y_label) + "\n";
  script += name_tics(chart.x_names);
  if (chart.x_scale == Chart::Scale::logarithmic) {
    script += "set logscale x\n";
  }
  if (chart.y_scale == Chart::Scale::logarithmic) {
    script += "set logscale y\n";
  }
  script += range(figure) + phases(figure);
  std::string curves;
  for (std::size_t i = 0; i < chart.series.size(); ++i) {
    script += data_block(chart.series[i], data_name(index, i));
    curves +=
        (i == 0 ? "plot " : ", ") + curve(chart.series[i], figure.inks[i], data_name(index, i));
  }
  return script + curves + "\n";
}

}  // namespace

std::string gnuplot_script(const std::vector<Figure>& figures, Picture picture) {
  const int count = static_cast<int>(figures.size());
  const int height = count == 1 ? kHeightOfOne : kHeightOfMore * count;
  std::string script = "set encoding utf8\nset terminal " + terminal(picture, height) + "\n";
  if (count > 1) {
    script += "set multiplot layout " + std::to_string(count) + ",1\n";
  }
  for (std::size_t i = 0; i < figures.size(); ++i) {
    script += one(figures[i], i);
  }
  return script + (count > 1 ? "unset multiplot\n" : "");
}

}  // namespace lab
