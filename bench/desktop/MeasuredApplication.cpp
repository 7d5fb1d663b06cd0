#include "bench/desktop/MeasuredApplication.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <utility>

#include <sys/resource.h>

namespace tovri::bench {

bool MeasuredApplication::notify(QObject* receiver, QEvent* event) {
    if (depth_ > 0) return QApplication::notify(receiver, event);
    ++depth_;
    const double start = monotonicSeconds();
    const bool isHandled = QApplication::notify(receiver, event);
    holds_.push_back((monotonicSeconds() - start) * 1000);
    --depth_;
    return isHandled;
}

std::vector<double> MeasuredApplication::takeHolds() {
    return std::exchange(holds_, {});
}

double monotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double processMemory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) / 1024;
    return 0;
}

double quantile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::ranges::nth_element(values, values.begin() + place);
    return values[static_cast<std::size_t>(place)];
}

}  // namespace tovri::bench
