#pragma once

#include <map>
#include <optional>
#include <vector>

#include "downloads/connections/ByteRange.h"

namespace tovri {

// Which bytes of a file have still to come, and which of them each connection brings. No byte is anybody's twice.
class RangePlan {
public:
    // A connection's number, never used again.
    using Number = int;

    // Nobody is relieved of fewer bytes: asking anew for them would take longer than waiting.
    static constexpr ByteCount smallestShare = ByteCount{2} << 20U;

    // The end of a file whose length is not known yet. What reaches up to there is not divided.
    static constexpr ByteCount unknownEnd = INT64_MAX;

    // Nothing is missing.
    RangePlan() = default;

    // Ascending, and with bytes between each two.
    explicit RangePlan(std::vector<ByteRange> missing);

    struct Share {
        Number number = 0;
        ByteRange range;
    };

    // What another connection brings: the longest range that nobody does, or the second half of the longest rest that
    // somebody does. None where there is nothing to bring, or not enough to divide.
    [[nodiscard]] std::optional<Share> take();

    // What it has still to bring; empty when that has come, and for one that has given back.
    [[nodiscard]] ByteRange rest(Number number) const;

    // So many more bytes of its rest have come.
    void advance(Number number, ByteCount count);

    // Others may bring its rest: first of all one that stops there only because the rest was not its own to bring.
    void giveBack(Number number);

    // The length of the file is known now, or is another one than was thought; `unknownEnd`: it is not known.
    void setLength(ByteCount length);

    // Whether no byte has to come any more.
    [[nodiscard]] bool isDone() const;

    // Whether somebody brings bytes.
    [[nodiscard]] bool isAnyUnderWay() const;

private:
    struct Taken {
        ByteRange rest;
        ByteCount asked = 0;  // where what it was to bring at first ends
    };

    void addFree(ByteRange range);
    void lengthenTaken();

    std::map<ByteCount, ByteRange> free_;  // by first byte
    std::map<Number, Taken> taken_;
    Number last_ = 0;
    ByteCount length_ = unknownEnd;
};

}  // namespace tovri
