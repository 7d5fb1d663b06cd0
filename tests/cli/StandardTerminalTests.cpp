#include <array>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "cli/StandardTerminal.h"

namespace tovri::cli {
namespace {

constexpr int longestWait = 20'000;  // milliseconds

bool isReadable(int descriptor) {
    pollfd stream{descriptor, POLLIN, 0};
    return ::poll(&stream, 1, longestWait) == 1 && (stream.revents & POLLIN) != 0;
}

// A person at a terminal that is this process's standard input. Standard error has no reader, so the kernel answers the
// first character of a question with a signal: that is when the person types.
class StandardTerminalTest : public ::testing::Test {
protected:
    void SetUp() override {
        person = ::posix_openpt(O_RDWR | O_NOCTTY);
        ASSERT_GE(person, 0);
        ASSERT_EQ(::grantpt(person), 0);
        ASSERT_EQ(::unlockpt(person), 0);
        replace(STDIN_FILENO, ::open(::ptsname(person), O_RDWR | O_NOCTTY));
        std::array<int, 2> pipe{};
        ASSERT_EQ(::pipe(pipe.data()), 0);
        ::close(pipe[0]);
        replace(STDERR_FILENO, pipe[1]);
        std::signal(SIGPIPE, typeAnswer);
    }

    void TearDown() override {
        std::signal(SIGPIPE, SIG_DFL);
        for (const int descriptor : {STDIN_FILENO, STDERR_FILENO}) {
            int& before = before_[static_cast<std::size_t>(descriptor)];
            ::dup2(before, descriptor);
            ::close(before);
        }
        ::close(person);
    }

    void replace(int descriptor, int other) {
        before_[static_cast<std::size_t>(descriptor)] = ::dup(descriptor);
        ASSERT_EQ(::dup2(other, descriptor), descriptor);
        ::close(other);
    }

    // Returns when the terminal has decided what of it is shown, where nothing else waits to be read.
    static void type(const char* text) {
        static_cast<void>(::write(person, text, std::strlen(text)));
        isReadable(STDIN_FILENO);
    }

    static void typeAnswer(int /*signal*/) { type("secret\n"); }

    // What the terminal has shown of what was typed.
    static std::string shown() {
        EXPECT_EQ(::write(STDIN_FILENO, ".", 1), 1);
        std::string text;
        while (!text.ends_with('.') && isReadable(person)) {
            char byte = 0;
            if (::read(person, &byte, 1) == 1) text += byte;
        }
        return text;
    }

    std::string answerTo(StandardTerminal& terminal, Terminal::Echo echo) {
        std::optional<std::string> answer;
        const Subscription question = terminal.ask("?", echo, [&](auto line) { answer = std::move(line); });
        if (isReadable(STDIN_FILENO)) readable_();
        return answer.value_or("none");
    }

    StandardTerminal::Events events() {
        return {.onReadable = [this](int, auto job) { return readable_ = std::move(job), Subscription(); },
                .onWritable = [](int, auto) { return Subscription(); },
                .onSignal = [](int, auto) { return Subscription(); }};
    }

private:
    static inline int person = -1;  // static for the handler of the signal
    std::array<int, 3> before_{};
    std::function<void()> readable_;
};

TEST_F(StandardTerminalTest, takesAHiddenAnswerHoweverEarlyAndNeverShowsIt) {
    StandardTerminal terminal(events());
    EXPECT_EQ(answerTo(terminal, Terminal::Echo::hidden), "secret");
    EXPECT_EQ(shown(), ".");
}

TEST_F(StandardTerminalTest, takesWhatWasTypedAheadAndEchoesAgainAfterwards) {
    std::signal(SIGPIPE, SIG_IGN);  // nothing is typed at the question itself
    type("first\nsecond\n");
    StandardTerminal terminal(events());
    EXPECT_EQ(answerTo(terminal, Terminal::Echo::hidden), "first");
    EXPECT_EQ(answerTo(terminal, Terminal::Echo::shown), "second");
    EXPECT_EQ(shown(), "first\r\nsecond\r\n.");
    type("third\n");
    EXPECT_EQ(answerTo(terminal, Terminal::Echo::shown), "third");
    EXPECT_EQ(shown(), "third\r\n.");
}

}  // namespace
}  // namespace tovri::cli
