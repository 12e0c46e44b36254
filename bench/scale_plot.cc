#include "scale_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace kolvane::bench {
namespace {

constexpr double kPanelWidth = 360;
constexpr double kPanelHeight = 300;
constexpr double kMargin = 56;
constexpr const char* kColours[] = {"#1f77b4", "#d62728", "#2ca02c", "#9467bd",
                                    "#ff7f0e", "#8c564b", "#17becf"};

std::string number(double value) {
  char text[32];
  if (value >= 1e6) {
    std::snprintf(text, sizeof text, "%gM", value / 1e6);
  } else if (value >= 1e3) {
    std::snprintf(text, sizeof text, "%gk", value / 1e3);
  } else {
    std::snprintf(text, sizeof text, "%g", value);
  }
  return text;
}

// Powers of ten around the values, so each axis starts and ends on a labelled line.
std::pair<double, double> decades(const PlotPanel& panel) {
  double low = INFINITY;
  double high = 0;
  for (const auto& line : panel.lines) {
    for (double value : line.values) {
      if (value <= 0) continue;
      low = std::min(low, value);
      high = std::max(high, value);
    }
  }
  if (high == 0) return {0, 1};
  const double from = std::floor(std::log10(low));
  return {from, std::max(from + 1, std::ceil(std::log10(high)))};
}

void drawPanel(std::ostringstream& svg, double left, const std::vector<double>& sizes,
               const PlotPanel& panel) {
  const double xFrom = std::log10(sizes.front());
  const double xTo = std::log10(sizes.back());
  const auto [yFrom, yTo] = decades(panel);
  const double width = kPanelWidth - kMargin - 10;
  const double height = kPanelHeight - 2 * kMargin;
  const auto x = [&](double size) {
    return left + kMargin + (std::log10(size) - xFrom) / std::max(xTo - xFrom, 1e-9) * width;
  };
  const auto y = [&](double value) {
    return kMargin + height - (std::log10(value) - yFrom) / (yTo - yFrom) * height;
  };
  svg << "<text x='" << left + kPanelWidth / 2 << "' y='20' text-anchor='middle' "
      << "font-weight='bold'>" << panel.title << " (" << panel.unit << ")</text>\n";
  for (double decade = yFrom; decade <= yTo; ++decade) {
    const double at = y(std::pow(10, decade));
    svg << "<line x1='" << left + kMargin << "' x2='" << left + kMargin + width << "' y1='" << at
        << "' y2='" << at << "' stroke='#ddd'/>\n<text x='" << left + kMargin - 4 << "' y='"
        << at + 4 << "' text-anchor='end'>" << number(std::pow(10, decade)) << "</text>\n";
  }
  for (double size : sizes) {
    svg << "<text x='" << x(size) << "' y='" << kMargin + height + 16 << "' text-anchor='middle'>"
        << number(size) << "</text>\n";
  }
  double legend = kPanelHeight - kMargin + 30;
  for (std::size_t i = 0; i < panel.lines.size(); ++i) {
    const PlotLine& line = panel.lines[i];
    const char* colour = kColours[i % std::size(kColours)];
    svg << "<polyline fill='none' stroke='" << colour << "' stroke-width='2'"
        << (line.baseline ? " stroke-dasharray='6 4'" : "") << " points='";
    for (std::size_t s = 0; s < sizes.size() && s < line.values.size(); ++s) {
      if (line.values[s] > 0) svg << x(sizes[s]) << ',' << y(line.values[s]) << ' ';
    }
    svg << "'/>\n<text x='" << left + kMargin << "' y='" << legend << "' fill='" << colour << "'>"
        << (line.baseline ? "- - " : "—— ") << line.name << "</text>\n";
    legend += 15;
  }
}

}  // namespace

bool writeLogLogPlot(const std::string& path, const std::vector<double>& sizes,
                     const std::vector<PlotPanel>& panels) {
  if (sizes.empty()) return false;
  std::size_t legendLines = 0;
  for (const auto& panel : panels) legendLines = std::max(legendLines, panel.lines.size());
  const double height = kPanelHeight + 20 + 15 * static_cast<double>(legendLines);
  std::ostringstream svg;
  svg << "<svg xmlns='http://www.w3.org/2000/svg' width='" << kPanelWidth * panels.size()
      << "' height='" << height << "' font-family='sans-serif' font-size='11'>\n"
      << "<rect width='100%' height='100%' fill='white'/>\n";
  for (std::size_t i = 0; i < panels.size(); ++i) {
    drawPanel(svg, kPanelWidth * static_cast<double>(i), sizes, panels[i]);
  }
  svg << "<text x='8' y='" << height - 6 << "' fill='#666'>strings in the store (log scale); "
      << "dashed: baselines</text>\n</svg>\n";
  std::ofstream out(path);
  out << svg.str();
  return static_cast<bool>(out);
}

}  // namespace kolvane::bench
