// A progress bar for long work.
#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <string_view>

namespace q7send {

class ProgressBar {
  public:
    // Draws nothing unless `isShown`, and nothing before the work has taken that long: short work
    // needs no bar.
    ProgressBar(std::ostream& out, bool isShown,
                std::chrono::milliseconds patience = std::chrono::milliseconds(400))
        : out_(out), isShown_(isShown), appearance_(std::chrono::steady_clock::now() + patience) {}
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar() { clear(); }

    // `done` is a part of the whole, from 0 to 1.
    void show(std::string_view task, double done);

    // Takes the bar off the line.
    void clear();

  private:
    std::ostream& out_;
    bool isShown_;
    std::chrono::steady_clock::time_point appearance_;
    std::string shownTask_;
    int shownPercent_ = -1;
};

}  // namespace q7send
