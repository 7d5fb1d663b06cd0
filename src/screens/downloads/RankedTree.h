#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "screens/downloads/RowOrder.h"

namespace tovri {

// Entries in an order, each of so many rows: finding one by its place or by its row, adding and taking out cost the
// logarithm of their number, and rows that are read one after another cost no search. A binary tree that chance keeps
// balanced: of two trees that are joined the larger one is more likely to stay on top.
//
// An entry has a `place`, which tells it from all others in the tree, and `rows()`.
template <class Entry>
class RankedTree {
public:
    explicit RankedTree(RowOrder order = {}) : order_(order) {}

    [[nodiscard]] std::size_t size() const { return nodes_.size() - free_.size(); }

    [[nodiscard]] std::size_t rows() const { return rowsBelow(root_); }

    // These stand in their order.
    void assign(std::vector<Entry> entries) {
        forgetWay();
        nodes_.clear();
        free_.clear();
        nodes_.reserve(entries.size());
        for (Entry& entry : entries) nodes_.push_back({.entry = std::move(entry)});
        root_ = balance(0, static_cast<Link>(nodes_.size()));
    }

    void insert(Entry entry) {
        forgetWay();
        auto [before, after] = split(root_, entry.place);
        root_ = join(join(before, add(std::move(entry))), after);
    }

    // Of an entry that is there.
    Entry erase(const RowPlace& place) {
        forgetWay();
        auto [before, rest] = split(root_, place);
        Link taken = none;
        rest = withoutFirst(rest, taken);
        root_ = join(before, rest);
        free_.push_back(taken);
        return std::exchange(nodes_[taken].entry, Entry());
    }

    // Null where there is none.
    [[nodiscard]] Entry* find(const RowPlace& place) {
        const Link found = linkOf(place);
        return found == none ? nullptr : &nodes_[found].entry;
    }

    [[nodiscard]] bool contains(const RowPlace& place) const { return linkOf(place) != none; }

    // The first row of the entry that stands there, or would.
    [[nodiscard]] std::size_t rowOf(const RowPlace& place) const {
        std::size_t rows = 0;
        for (Link at = root_; at != none;) {
            const Node& node = nodes_[at];
            const bool isBefore = order_.isBefore(node.entry.place, place);
            if (isBefore) rows += rowsBelow(node.left) + node.entry.rows();
            at = isBefore ? node.right : node.left;
        }
        return rows;
    }

    // After the entry there has got another number of rows.
    void countRows(const RowPlace& place) {
        forgetWay();
        countRows(root_, place);
    }

    struct Found {
        const Entry& entry;
        std::size_t row;  // within the entry's
    };

    [[nodiscard]] Found at(std::size_t row) const {
        if (!leadsTo(row)) seek(row);
        return {nodes_[way_.back()].entry, row - firstRow_};
    }

    [[nodiscard]] const Entry& first() const {
        Link at = root_;
        while (nodes_[at].left != none) at = nodes_[at].left;
        return nodes_[at].entry;
    }

    // In their order.
    void forEach(const auto& visit) const { visitBelow(root_, visit); }

private:
    using Link = std::uint32_t;
    static constexpr Link none = std::numeric_limits<Link>::max();

    struct Node {
        Entry entry;
        Link left = none;
        Link right = none;
        std::uint32_t count = 1;  // of entries, with those below
        std::uint32_t rows = 0;   // likewise
    };

    using Pair = std::pair<Link, Link>;

    [[nodiscard]] std::size_t rowsBelow(Link link) const { return link == none ? 0 : nodes_[link].rows; }

    [[nodiscard]] std::uint32_t countBelow(Link link) const { return link == none ? 0 : nodes_[link].count; }

    [[nodiscard]] Link linkOf(const RowPlace& place) const {
        Link found = none;
        for (Link at = root_; at != none;) {
            const bool isBefore = order_.isBefore(nodes_[at].entry.place, place);
            if (!isBefore) found = at;
            at = isBefore ? nodes_[at].right : nodes_[at].left;
        }
        return found == none || order_.isBefore(place, nodes_[found].entry.place) ? none : found;
    }

    Link sum(Link link) {
        Node& node = nodes_[link];
        node.count = 1 + countBelow(node.left) + countBelow(node.right);
        node.rows = static_cast<std::uint32_t>(node.entry.rows() + rowsBelow(node.left) + rowsBelow(node.right));
        return link;
    }

    Link add(Entry entry) {
        Link link = static_cast<Link>(nodes_.size());
        if (free_.empty()) {
            nodes_.push_back({.entry = std::move(entry)});
        } else {
            link = free_.back();
            free_.pop_back();
            nodes_[link] = {.entry = std::move(entry)};
        }
        return sum(link);
    }

    Link balance(Link first, Link last) {
        if (first == last) return none;
        const Link middle = first + (last - first) / 2;
        nodes_[middle].left = balance(first, middle);
        nodes_[middle].right = balance(middle + 1, last);
        return sum(middle);
    }

    // What stands before the place, and the rest.
    Pair split(Link link, const RowPlace& place) {
        if (link == none) return {none, none};
        if (order_.isBefore(nodes_[link].entry.place, place)) {
            const auto [before, after] = split(nodes_[link].right, place);
            nodes_[link].right = before;
            return {sum(link), after};
        }
        const auto [before, after] = split(nodes_[link].left, place);
        nodes_[link].left = after;
        return {before, sum(link)};
    }

    Link join(Link before, Link after) {
        if (before == none || after == none) return before == none ? after : before;
        if (roll(countBelow(before) + countBelow(after)) < countBelow(before)) {
            const Link right = join(nodes_[before].right, after);
            nodes_[before].right = right;
            return sum(before);
        }
        const Link left = join(before, nodes_[after].left);
        nodes_[after].left = left;
        return sum(after);
    }

    Link withoutFirst(Link link, Link& taken) {
        if (nodes_[link].left == none) {
            taken = link;
            return nodes_[link].right;
        }
        const Link left = withoutFirst(nodes_[link].left, taken);
        nodes_[link].left = left;
        return sum(link);
    }

    void countRows(Link link, const RowPlace& place) {
        if (link == none) return;
        if (order_.isBefore(nodes_[link].entry.place, place))
            countRows(nodes_[link].right, place);
        else if (order_.isBefore(place, nodes_[link].entry.place))
            countRows(nodes_[link].left, place);
        sum(link);
    }

    void visitBelow(Link link, const auto& visit) const {
        if (link == none) return;
        visitBelow(nodes_[link].left, visit);
        visit(nodes_[link].entry);
        visitBelow(nodes_[link].right, visit);
    }

    // A xorshift generator (Marsaglia 2003): the same changes give the same tree.
    std::uint32_t roll(std::uint32_t sides) {
        dice_ ^= dice_ << 13;
        dice_ ^= dice_ >> 17;
        dice_ ^= dice_ << 5;
        return dice_ % sides;
    }

    // --- The way to the row that was read last ---

    void forgetWay() { way_.clear(); }

    [[nodiscard]] bool leadsTo(std::size_t row) const {
        if (way_.empty() || row < firstRow_) return false;
        const std::size_t rows = nodes_[way_.back()].entry.rows();
        if (row - firstRow_ < rows) return true;
        return goToNext(rows) && row - firstRow_ < nodes_[way_.back()].entry.rows();
    }

    bool goToNext(std::size_t rows) const {
        Link at = nodes_[way_.back()].right;
        if (at != none) {
            for (; at != none; at = nodes_[at].left) way_.push_back(at);
        } else {
            do {
                at = way_.back();
                way_.pop_back();
            } while (!way_.empty() && nodes_[way_.back()].right == at);
        }
        firstRow_ += rows;
        return !way_.empty();
    }

    void seek(std::size_t row) const {
        way_.clear();
        firstRow_ = 0;
        for (Link at = root_;;) {
            const Node& node = nodes_[at];
            way_.push_back(at);
            const std::size_t before = firstRow_ + rowsBelow(node.left);
            if (row < before) {
                at = node.left;
            } else if (row < before + node.entry.rows()) {
                firstRow_ = before;
                return;
            } else {
                firstRow_ = before + node.entry.rows();
                at = node.right;
            }
        }
    }

    RowOrder order_;
    std::vector<Node> nodes_;
    std::vector<Link> free_;
    Link root_ = none;
    std::uint32_t dice_ = 2'463'534'242;
    mutable std::vector<Link> way_;  // from the root on; empty: not known
    mutable std::size_t firstRow_ = 0;
};

}  // namespace tovri
