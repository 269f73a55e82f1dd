// Figures: one line each on standard output, and all of them as JSON.
//
//   figure track_median_over_floor = 1.21 ratio
#pragma once

#include <string>
#include <vector>

namespace zarn::bench {

class Figures {
 public:
  void add(const std::string& name, double value, const std::string& unit);
  /// False, with a message on standard error, when the file can't be written.
  bool writeJson(const std::string& path) const;

 private:
  struct Figure {
    std::string name;
    double value;
    std::string unit;
  };
  std::vector<Figure> figures_;
};

}  // namespace zarn::bench
