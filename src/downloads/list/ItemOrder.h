#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "downloads/list/Download.h"

namespace tovri {

// The items in their order, which their positions repeat: the smallest is on top. They stand in short runs, so that
// adding one at either end and taking one out anywhere moves a few others, and a walk over all reads memory as it lies.
// A walk changes no item; whoever may change the order gets items that can be changed.
class ItemOrder {
    struct Entry {
        std::int64_t position = 0;  // the item's, at hand for searching
        ConstDownloadPointer item;
    };

    using Run = std::vector<Entry>;

public:
    // Good until the next change, like what it refers to.
    class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = ConstDownloadPointer;
        using difference_type = std::ptrdiff_t;
        using pointer = const ConstDownloadPointer*;
        using reference = const ConstDownloadPointer&;

        Iterator() = default;

        reference operator*() const { return (*run_)[index_].item; }

        pointer operator->() const { return &**this; }

        Iterator& operator++() {
            if (++index_ == run_->size()) *this = Iterator(run_ + 1, 0);
            return *this;
        }

        Iterator& operator--() {
            if (index_ == 0) index_ = (--run_)->size();
            --index_;
            return *this;
        }

        Iterator operator++(int) { return std::exchange(*this, std::next(*this)); }

        Iterator operator--(int) { return std::exchange(*this, std::prev(*this)); }

        bool operator==(const Iterator&) const = default;

    private:
        friend ItemOrder;

        Iterator(const Run* run, std::size_t index) : run_(run), index_(index) {}

        const Run* run_ = nullptr;
        std::size_t index_ = 0;
    };

    [[nodiscard]] Iterator begin() const { return {runs_.data(), 0}; }

    [[nodiscard]] Iterator end() const { return {runs_.data() + runs_.size(), 0}; }

    [[nodiscard]] std::size_t size() const { return size_; }

    [[nodiscard]] bool empty() const { return size_ == 0; }

    [[nodiscard]] const ConstDownloadPointer& front() const { return runs_.front().front().item; }

    [[nodiscard]] const ConstDownloadPointer& back() const { return runs_.back().back().item; }

    // Costs as much as there are runs: a walk goes from begin() to end().
    [[nodiscard]] const ConstDownloadPointer& operator[](std::size_t index) const;

    // end() where no item has the position.
    [[nodiscard]] Iterator at(std::int64_t position) const;

    [[nodiscard]] DownloadPointer changeable(Iterator place) { return changeable(*place); }

    // These give the item its position.
    void pushFront(DownloadPointer item);
    void pushBack(DownloadPointer item);

    // Where it has stood before; on top where another has its position by now.
    void putBack(DownloadPointer item);

    // Both leave the items their positions, of which the first two are exchanged.
    void swap(Iterator a, Iterator b);
    DownloadPointer erase(Iterator place);

private:
    // None was made as a constant.
    [[nodiscard]] static DownloadPointer changeable(ConstDownloadPointer item) {
        return std::const_pointer_cast<Download>(std::move(item));
    }

    [[nodiscard]] Run& runOf(Iterator place) { return runs_[static_cast<std::size_t>(place.run_ - runs_.data())]; }

    std::vector<Run> runs_;  // none is empty
    std::size_t size_ = 0;
};

}  // namespace tovri
