#include "cli/StandardTerminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/PlainText.h"

namespace tovri::cli {
namespace {

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool localeHasUnicode() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const std::string_view value = environment(name);
        if (value.empty()) continue;
        return value.find("UTF-8") != std::string_view::npos || value.find("utf8") != std::string_view::npos;
    }
    return false;
}

bool isSamePlace(int one, int other) {
    struct stat first{};
    struct stat second{};
    return ::fstat(one, &first) == 0 && ::fstat(other, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

}  // namespace

struct StandardTerminal::Question {
    LineReceiver done;
    Subscription readable;
};

StandardTerminal::StandardTerminal(Events events)
    : events_(std::move(events)),
      showsOutput_(::isatty(STDOUT_FILENO) == 1 && environment("TERM") != "dumb"),
      showsMessages_(::isatty(STDERR_FILENO) == 1),
      hasColor_(showsOutput_ && environment("NO_COLOR").empty()),
      hasUnicode_(localeHasUnicode()),
      output_(STDOUT_FILENO, events_.onWritable) {
    output_.onCaughtUp([this] { didCatchUp(); });
    if (isSamePlace(STDOUT_FILENO, STDERR_FILENO)) return;
    messages_.emplace(STDERR_FILENO, events_.onWritable);
    messages_->onCaughtUp([this] { didCatchUp(); });
}

StandardTerminal::~StandardTerminal() {
    restore();
}

bool StandardTerminal::canAsk() const {
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

Terminal::Size StandardTerminal::size() const {
    winsize window{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0) return {80, 24};
    return {window.ws_col, std::max<std::size_t>(window.ws_row, 1)};
}

Subscription StandardTerminal::onResize(std::function<void()> tell) {
    return events_.onSignal(SIGWINCH, std::move(tell));
}

void StandardTerminal::print(std::string_view line) {
    writeLine(STDOUT_FILENO, line);
}

void StandardTerminal::message(std::string_view line) {
    writeLine(STDERR_FILENO, line);
}

// Lines for a file need no place above the live ones.
void StandardTerminal::writeLine(int descriptor, std::string_view line) {
    if (question_) {
        held_.emplace_back(descriptor, line);
        return;
    }
    const std::string text = plainLine(line) + "\n";
    const bool isShown = descriptor == STDOUT_FILENO ? showsOutput_ : showsMessages_;
    if (live_.isEmpty() || !isShown) return write(descriptor, text);
    write(STDOUT_FILENO, live_.insertAbove(text, size().columns));
}

void StandardTerminal::showLive(std::vector<std::string> lines) {
    if (question_) {
        hiddenLive_ = std::move(lines);
        return;
    }
    lateLive_.reset();
    if (lines.empty() && live_.isEmpty()) return;
    if (!lines.empty() && isBehind()) {
        lateLive_ = std::move(lines);
        return;
    }
    write(STDOUT_FILENO, live_.replace(std::move(lines), size().columns));
}

Subscription StandardTerminal::ask(std::string_view question, Echo echo, LineReceiver done) {
    if (echo == Echo::hidden) stopEcho();
    hiddenLive_ = lateLive_.value_or(live_.lines());
    lateLive_.reset();
    if (!live_.isEmpty()) write(STDOUT_FILENO, live_.replace({}, size().columns));
    write(STDERR_FILENO, plainLines(question));
    question_ = std::make_shared<Question>();
    question_->done = std::move(done);
    question_->readable = events_.onReadable(STDIN_FILENO, [this, asked = std::weak_ptr(question_)] {
        if (const auto open = asked.lock()) readInput(open);
    });
    return Subscription([this, asked = std::weak_ptr(question_)] {
        if (const auto open = asked.lock(); open && open == question_) restore();
    });
}

// Before the question is seen: whoever reads it may answer at once. What was typed ahead stays an answer.
void StandardTerminal::stopEcho() {
    termios state{};
    if (::tcgetattr(STDIN_FILENO, &state) != 0) return;
    echoing_ = std::make_unique<termios>(state);
    state.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &state);
}

void StandardTerminal::readInput(const std::shared_ptr<Question>& question) {
    if (input_.find('\n') == std::string::npos && !isInputAtEnd_) {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
        if (count <= 0)
            isInputAtEnd_ = true;
        else
            input_.append(bytes, static_cast<std::size_t>(count));
    }
    const std::size_t end = input_.find('\n');
    if (end == std::string::npos && !isInputAtEnd_) return;

    if (end == std::string::npos && !echoing_) write(STDERR_FILENO, "\n");
    std::optional<std::string> line;
    if (end != std::string::npos || !input_.empty()) line = input_.substr(0, end);
    input_.erase(0, end == std::string::npos ? end : end + 1);
    auto done = std::move(question->done);
    endQuestion();
    done(std::move(line));
}

void StandardTerminal::endQuestion() {
    question_.reset();
    if (echoing_) {
        ::tcsetattr(STDIN_FILENO, TCSANOW, echoing_.get());
        echoing_.reset();
        write(STDERR_FILENO, "\n");  // the user's own was not shown
    }
    for (const auto& [descriptor, line] : std::exchange(held_, {})) writeLine(descriptor, line);
    showLive(std::exchange(hiddenLive_, {}));
}

void StandardTerminal::restore() {
    if (!question_) return;
    if (!echoing_) write(STDERR_FILENO, "\n");  // the cursor stands behind the question
    endQuestion();
}

void StandardTerminal::write(int descriptor, std::string_view text) {
    (descriptor == STDERR_FILENO && messages_ ? *messages_ : output_).write(text);
}

void StandardTerminal::whenTaken(std::function<void()> job) {
    taken_ = std::move(job);
    didCatchUp();
}

void StandardTerminal::didCatchUp() {
    if (lateLive_ && !output_.isBehind()) showLive(*std::exchange(lateLive_, std::nullopt));
    if (output_.isBehind() || (messages_ && messages_->isBehind())) return;
    if (const auto job = std::exchange(taken_, nullptr)) job();
}

}  // namespace tovri::cli
