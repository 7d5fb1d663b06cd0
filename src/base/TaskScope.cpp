#include "base/TaskScope.h"

namespace tovri {

// The outermost frame of a started task: it belongs to its scope and destroys itself at its end.
struct TaskScope::Root {
    struct promise_type {
        TaskScope* scope;

        promise_type(TaskScope& owner, const Task<void>& /*task*/) : scope(&owner) {}

        Root get_return_object() { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }

        [[nodiscard]] std::suspend_always initial_suspend() const noexcept { return {}; }

        auto final_suspend() const noexcept {
            struct Leave {
                [[nodiscard]] bool await_ready() const noexcept { return false; }

                void await_suspend(std::coroutine_handle<promise_type> finished) const noexcept {
                    finished.promise().scope->frames_.erase(finished.address());
                    finished.destroy();
                }

                void await_resume() const noexcept {}
            };

            return Leave{};
        }

        void return_void() const noexcept {}

        [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
    };

    std::coroutine_handle<promise_type> frame;

    // NOLINTNEXTLINE(cppcoreguidelines-avoid-reference-coroutine-parameters): the scope owns the frame
    static Root run(TaskScope& /*scope*/, Task<void> task) { co_await std::move(task); }
};

void TaskScope::start(Task<void> task) {
    const Root root = Root::run(*this, std::move(task));
    frames_.insert(root.frame.address());
    root.frame.resume();
}

TaskScope::~TaskScope() {
    stop_.request_stop();
    while (!frames_.empty()) {
        void* const frame = *frames_.begin();
        frames_.erase(frames_.begin());
        std::coroutine_handle<>::from_address(frame).destroy();
    }
}

}  // namespace tovri
