#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Subscription.h"

namespace tovri::cli {

// Where the program's text goes to and the user's comes from. Nothing here waits for a slow reader. Quiet where nobody
// reads any more.
class Terminal {
public:
    struct Size {
        std::size_t columns;
        std::size_t rows;
    };

    enum class Echo { shown, hidden };
    using LineReceiver = std::move_only_function<void(std::optional<std::string>)>;

    virtual ~Terminal() = default;

    // Whether standard output is a terminal, and whether a question can be asked: standard input is one as well.
    [[nodiscard]] virtual bool showsOutput() const = 0;
    [[nodiscard]] virtual bool canAsk() const = 0;

    [[nodiscard]] virtual bool hasColor() const = 0;
    [[nodiscard]] virtual bool hasUnicode() const = 0;
    [[nodiscard]] virtual Size size() const = 0;
    virtual Subscription onResize(std::function<void()> tell) = 0;

    // Whether the reader is slow and lines wait for it. What is true for a moment only is better not printed then.
    [[nodiscard]] virtual bool isBehind() const = 0;

    // A line of data on standard output, a line for the user on standard error; without the line break at their end.
    // What is no plain text in them is replaced: one line stays one, and commands no terminal, wherever it goes.
    virtual void print(std::string_view line) = 0;
    virtual void message(std::string_view line) = 0;

    // Keeps these lines below all others on standard output, which is a terminal. No lines take them away. They may
    // hold colours, so what comes from outside is printable already.
    virtual void showLive(std::vector<std::string> lines) = 0;

    // Reads a line of standard input after the question, which standard error shows; none at the input's end. All other
    // output waits meanwhile. One question at a time.
    virtual Subscription ask(std::string_view question, Echo echo, LineReceiver done) = 0;
};

}  // namespace tovri::cli
