// Names chosen by shell patterns.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vrn::series {

class NameSelection {
  public:
    // Shell patterns over whole names, case counts; none take all.
    explicit NameSelection(std::vector<std::string> patterns) : patterns_(std::move(patterns)) {}

    bool takes_all() const { return patterns_.empty(); }
    bool takes(const std::string &name) const;

  private:
    std::vector<std::string> patterns_;
};

}  // namespace vrn::series
