#pragma once

#include <functional>
#include <utility>

namespace tovri {

// Keeps a registration alive: a callback, a timer, a request under way. Destroying it takes the registration back,
// after which the callback is not called again. Safe to outlive its source. Make it the last member of whoever the
// callback uses. Main thread only.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;

    explicit Subscription(std::move_only_function<void()> release) : release_(std::move(release)) {}

    Subscription(Subscription&& other) noexcept : release_(std::exchange(other.release_, nullptr)) {}

    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            release_ = std::exchange(other.release_, nullptr);
        }
        return *this;
    }

    ~Subscription() { reset(); }

    [[nodiscard]] bool isActive() const { return static_cast<bool>(release_); }

    void reset() {
        if (auto release = std::exchange(release_, nullptr)) release();
    }

private:
    std::move_only_function<void()> release_;
};

}  // namespace tovri
