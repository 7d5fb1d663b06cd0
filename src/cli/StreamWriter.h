#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/Subscription.h"

namespace tovri::cli {

// Text on its way to one standard stream, whose reader may be slow or stand still: what fits is written at once, the
// rest when the stream takes it, and nobody waits. It keeps whatever it is given: a line comes from work that was done,
// so there is an end to them. Who tells something over and over asks `isBehind` first. Quiet where nobody reads any
// more.
class StreamWriter {
public:
    // Runs the job whenever the descriptor can be written.
    using OnWritable = std::function<Subscription(int descriptor, std::function<void()>)>;

    StreamWriter(int descriptor, OnWritable onWritable);
    StreamWriter(const StreamWriter&) = delete;
    StreamWriter& operator=(const StreamWriter&) = delete;
    ~StreamWriter();

    void write(std::string_view text);

    // Whether text waits for the reader.
    [[nodiscard]] bool isBehind() const { return written_ < text_.size(); }

    // Runs the job whenever nothing waits any more; it may write.
    void onCaughtUp(std::function<void()> job) { caughtUp_ = std::move(job); }

    // Whether something could not be written though somebody was there to read it: a full disk.
    [[nodiscard]] bool hasLostText() const { return hasLostText_; }

private:
    void writeOn();
    [[nodiscard]] bool writeWhatFits();

    [[nodiscard]] bool mayBlock() const { return ownDescription_ < 0; }

    void giveUp(int reason);

    int descriptor_;
    int ownDescription_;  // of the same pipe or terminal, where one could be opened; -1 otherwise
    OnWritable onWritable_;
    std::string text_;
    std::size_t written_ = 0;  // so much of text_
    bool isBroken_ = false;
    bool hasLostText_ = false;
    std::function<void()> caughtUp_;
    Subscription writable_;
};

}  // namespace tovri::cli
