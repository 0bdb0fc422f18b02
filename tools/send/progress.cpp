#include "send/progress.h"

#include <algorithm>

namespace q7send {

namespace {

constexpr int barWidth = 30;
constexpr int taskWidth = 12;
constexpr int lineWidth = barWidth + taskWidth + 9;

std::string barLine(std::string_view task, int percent) {
    const auto filled = static_cast<std::size_t>(percent * barWidth / 100);
    const std::string number = std::to_string(percent);
    std::string line(task.substr(0, taskWidth));
    line.resize(taskWidth, ' ');
    line += " [" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "] ";
    return line + std::string(3 - number.size(), ' ') + number + "%";
}

}  // namespace

void ProgressBar::show(std::string_view task, double done) {
    if (!isShown_) return;
    const int percent = static_cast<int>(std::clamp(done, 0.0, 1.0) * 100);
    if (percent == shownPercent_ && task == shownTask_) return;
    if (std::chrono::steady_clock::now() < appearance_) return;
    shownPercent_ = percent;
    shownTask_ = task;
    out_ << '\r' << barLine(task, percent) << std::flush;
}

void ProgressBar::clear() {
    if (shownPercent_ < 0) return;
    shownPercent_ = -1;
    out_ << '\r' << std::string(lineWidth, ' ') << '\r' << std::flush;
}

}  // namespace q7send
