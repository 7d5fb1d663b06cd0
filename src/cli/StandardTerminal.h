#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <termios.h>

#include "cli/StreamWriter.h"
#include "cli/Terminal.h"
#include "cli/display/LiveArea.h"

namespace tovri::cli {

// The process's standard streams. What is written while a question is open comes after its answer; live lines that
// change while the reader is behind are drawn once it is not. Where both streams go to the same place, their lines keep
// their order.
class StandardTerminal final : public Terminal {
public:
    // How it hears of the outside; main.cpp connects this with the main loop.
    struct Events {
        std::function<Subscription(int descriptor, std::function<void()>)> onReadable;
        std::function<Subscription(int descriptor, std::function<void()>)> onWritable;
        std::function<Subscription(int signal, std::function<void()>)> onSignal;
    };

    explicit StandardTerminal(Events events);
    StandardTerminal(const StandardTerminal&) = delete;
    StandardTerminal& operator=(const StandardTerminal&) = delete;

    // Leaves the terminal as it was found.
    ~StandardTerminal() override;

    [[nodiscard]] bool showsOutput() const override { return showsOutput_; }

    [[nodiscard]] bool canAsk() const override;

    [[nodiscard]] bool hasColor() const override { return hasColor_; }

    [[nodiscard]] bool hasUnicode() const override { return hasUnicode_; }

    [[nodiscard]] Size size() const override;
    Subscription onResize(std::function<void()> tell) override;

    [[nodiscard]] bool isBehind() const override { return output_.isBehind(); }

    void print(std::string_view line) override;
    void message(std::string_view line) override;
    void showLive(std::vector<std::string> lines) override;
    Subscription ask(std::string_view question, Echo echo, LineReceiver done) override;

    // Withdraws the question that is open, if one is. For the end of the program.
    void restore();

    // Whether something could not be written though somebody was there to read it: a full disk.
    [[nodiscard]] bool hasLostOutput() const { return output_.hasLostText(); }

    // Runs the job once, when the readers have taken all that was written.
    void whenTaken(std::function<void()> job);

private:
    struct Question;

    void write(int descriptor, std::string_view text);
    void didCatchUp();
    void writeLine(int descriptor, std::string_view line);
    void stopEcho();
    void readInput(const std::shared_ptr<Question>& question);
    void endQuestion();

    Events events_;
    bool showsOutput_;
    bool showsMessages_;
    bool hasColor_;
    bool hasUnicode_;
    LiveArea live_;
    std::optional<std::vector<std::string>> lateLive_;  // to be shown when the reader has caught up
    std::vector<std::string> hiddenLive_;               // what is to be shown when the question is answered
    std::vector<std::pair<int, std::string>> held_;
    std::string input_;
    bool isInputAtEnd_ = false;
    std::shared_ptr<Question> question_;
    std::unique_ptr<termios> echoing_;  // the terminal's state before its echo was switched off
    std::function<void()> taken_;
    StreamWriter output_;
    std::optional<StreamWriter> messages_;  // none where standard output goes to the same place
};

}  // namespace tovri::cli
