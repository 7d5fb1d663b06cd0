#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/Subscription.h"

namespace tovri {

// Tells observers of an event, in the order in which they subscribed. Private to its owner, which offers a subscribing
// operation of its own. Observers may subscribe and unsubscribe while they are told. Main thread only.
template <class... Event>
class Signal {
public:
    using Observer = std::function<void(Event...)>;

    Subscription subscribe(Observer tell) {
        auto entry = std::make_shared<Entry>(std::move(tell));
        observers_->push_back(entry);
        return Subscription([list = std::weak_ptr(observers_), entry] {
            entry->isSubscribed = false;  // not told any more, even by a round that is under way
            if (const auto observers = list.lock()) std::erase(*observers, entry);
        });
    }

    void tell(Event... event) const {
        const auto round = *observers_;  // keeps an observer that unsubscribes itself alive until it returns
        for (const auto& entry : round)
            if (entry->isSubscribed) entry->tell(event...);
    }

    [[nodiscard]] bool hasObservers() const { return !observers_->empty(); }

private:
    struct Entry {
        Observer tell;
        bool isSubscribed = true;
    };

    using Observers = std::vector<std::shared_ptr<Entry>>;
    std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
};

}  // namespace tovri
