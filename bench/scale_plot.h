// Log-log plots of measures against the number of strings, as one SVG file of panels.
#pragma once

#include <string>
#include <vector>

namespace kolvane::bench {

struct PlotLine {
  std::string name;
  std::vector<double> values;  // one per size; 0 or less leaves the point out
  bool baseline = false;       // drawn dashed
};

struct PlotPanel {
  std::string title;
  std::string unit;
  std::vector<PlotLine> lines;
};

// Writes the panels side by side, x the sizes on a log scale, y each panel's on its own.
bool writeLogLogPlot(const std::string& path, const std::vector<double>& sizes,
                     const std::vector<PlotPanel>& panels);

}  // namespace kolvane::bench
