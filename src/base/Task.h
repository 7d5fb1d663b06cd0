#pragma once

#include <coroutine>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace tovri {

template <class T>
class Task;

namespace detail {

// Resumes whoever awaits the task, without growing the stack.
struct ResumeAwaiting {
    [[nodiscard]] bool await_ready() const noexcept { return false; }

    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> finished) const noexcept {
        return finished.promise().awaiting;
    }

    void await_resume() const noexcept {}
};

struct TaskPromiseBase {
    std::coroutine_handle<> awaiting = std::noop_coroutine();

    [[nodiscard]] std::suspend_always initial_suspend() const noexcept { return {}; }

    [[nodiscard]] ResumeAwaiting final_suspend() const noexcept { return {}; }

    // Failures travel as Result values. An exception that reaches a coroutine's edge is a bug, in every build.
    [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
};

template <class T>
struct TaskPromise : TaskPromiseBase {
    std::optional<T> value;

    Task<T> get_return_object();

    template <class U>
    void return_value(U&& result) {
        value.emplace(std::forward<U>(result));
    }

    T take() { return std::move(*value); }
};

template <>
struct TaskPromise<void> : TaskPromiseBase {
    Task<void> get_return_object();

    void return_void() const noexcept {}

    void take() const noexcept {}
};

}  // namespace detail

// A piece of asynchronous work: starts when it is awaited, has one awaiter, runs on the main thread. Destroying it
// drops its suspended frame with all that the frame holds. Start one in a TaskScope or await it.
template <class T = void>
class [[nodiscard]] Task {
public:
    using promise_type = detail::TaskPromise<T>;

    explicit Task(std::coroutine_handle<promise_type> frame) : frame_(frame) {}

    Task(Task&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}

    Task& operator=(Task&&) = delete;

    ~Task() {
        if (frame_) frame_.destroy();
    }

    auto operator co_await() && noexcept {
        struct Awaiter {
            std::coroutine_handle<promise_type> frame;

            [[nodiscard]] bool await_ready() const noexcept { return false; }

            std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiting) const noexcept {
                frame.promise().awaiting = awaiting;
                return frame;
            }

            T await_resume() const { return frame.promise().take(); }
        };

        return Awaiter{frame_};
    }

private:
    std::coroutine_handle<promise_type> frame_;
};

namespace detail {

template <class T>
Task<T> TaskPromise<T>::get_return_object() {
    return Task<T>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}

inline Task<void> TaskPromise<void>::get_return_object() {
    return Task<void>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}

}  // namespace detail
}  // namespace tovri
