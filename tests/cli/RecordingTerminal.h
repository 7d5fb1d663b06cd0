#pragma once

#include <string>
#include <vector>

#include "cli/Terminal.h"

namespace tovri::cli {

// No terminal at all: keeps what is printed.
class RecordingTerminal final : public Terminal {
public:
    [[nodiscard]] bool showsOutput() const override { return false; }

    [[nodiscard]] bool canAsk() const override { return false; }

    [[nodiscard]] bool hasColor() const override { return false; }

    [[nodiscard]] bool hasUnicode() const override { return true; }

    [[nodiscard]] Size size() const override { return {80, 24}; }

    Subscription onResize(std::function<void()> /*tell*/) override { return {}; }

    [[nodiscard]] bool isBehind() const override { return false; }

    void print(std::string_view line) override { lines.emplace_back(line); }

    void message(std::string_view /*line*/) override {}

    void showLive(std::vector<std::string> /*lines*/) override {}

    Subscription ask(std::string_view /*question*/, Echo /*echo*/, LineReceiver /*done*/) override { return {}; }

    std::vector<std::string> lines;
};

}  // namespace tovri::cli
