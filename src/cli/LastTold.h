#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/MainLoop.h"

namespace tovri::cli {

// What was said last of each of several subjects, so that nobody hears the same again and again.
class LastTold {
public:
    enum class Again : std::uint8_t { never, hourly };

    // Whether the text is to be said of the subject now: then it counts as said.
    [[nodiscard]] bool isNews(const std::string& subject, std::string_view text, MainLoop::TimePoint now, Again again) {
        if (told_.size() >= mostSubjects) told_.clear();
        Told& last = told_[subject];
        const bool isDueAgain = again == Again::hourly && now - last.at >= std::chrono::hours(1);
        if (last.text == text && !isDueAgain) return false;
        last = {std::string(text), now};
        return true;
    }

    void forget(const std::string& subject) { told_.erase(subject); }

private:
    struct Told {
        std::string text;
        MainLoop::TimePoint at;
    };

    // More than anybody has rules: what else is spoken of must not gather for months.
    static constexpr std::size_t mostSubjects = 1000;

    std::unordered_map<std::string, Told> told_;
};

}  // namespace tovri::cli
