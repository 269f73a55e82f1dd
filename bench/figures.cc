#include "figures.h"

#include <cstdio>

namespace zarn::bench {

void Figures::add(const std::string& name, double value, const std::string& unit) {
  std::printf("figure %s = %.4g %s\n", name.c_str(), value, unit.c_str());
  std::fflush(stdout);
  figures_.push_back({name, value, unit});
}

bool Figures::writeJson(const std::string& path) const {
  std::FILE* file = std::fopen(path.c_str(), "w");
  if (file == nullptr) {
    std::perror(path.c_str());
    return false;
  }
  std::fputs("{", file);
  for (std::size_t i = 0; i < figures_.size(); ++i) {
    std::fprintf(file, "%s\n  \"%s\": {\"value\": %.6g, \"unit\": \"%s\"}", i == 0 ? "" : ",",
                 figures_[i].name.c_str(), figures_[i].value, figures_[i].unit.c_str());
  }
  std::fputs("\n}\n", file);
  return std::fclose(file) == 0;
}

}  // namespace zarn::bench
