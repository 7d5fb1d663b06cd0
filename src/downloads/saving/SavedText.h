#pragma once

#include <string>
#include <utility>

#include "platform/FileManager.h"

namespace tovri::saved {

// Text of a file that the program keeps for itself, on its way there in pieces, so that a long one never stands in
// memory whole. An output stream for RapidJSON. Puts a backslash before each slash: JSON has slashes inside strings
// only, so no state is needed.
class SlashEscapingText {
public:
    using Ch = char;

    explicit SlashEscapingText(const FileManager::Sink& sink) : sink_(sink) { piece_.reserve(pieceSize + 2); }

    void Put(char letter) {
        if (letter == '/') piece_ += '\\';
        piece_ += letter;
        if (piece_.size() >= pieceSize) handOn();
    }

    void Flush() {}

    // The rest, and the first failure of all.
    [[nodiscard]] Result<void> finish() {
        handOn();
        return std::move(outcome_);
    }

private:
    static constexpr std::size_t pieceSize = std::size_t{64} * 1024;

    void handOn() {
        if (outcome_) outcome_ = sink_(piece_);
        piece_.clear();
    }

    const FileManager::Sink& sink_;
    std::string piece_;
    Result<void> outcome_;
};

}  // namespace tovri::saved
