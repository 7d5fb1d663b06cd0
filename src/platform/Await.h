#pragma once

#include <chrono>
#include <coroutine>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <variant>

#include "base/Result.h"
#include "platform/BackgroundQueue.h"
#include "platform/MainLoop.h"
#include "platform/VolumeQueues.h"

namespace tovri {

// Awaits one answer of an operation that a port delivers through a callback on the main thread. A stop request wakes
// the awaiting coroutine with ErrorCase::cancelled, one turn of the loop later, and takes the operation back. Dropping
// the suspended coroutine takes it back too.
//
//     Result<HTTPResponse> answer = co_await Answer<HTTPResponse>(loop, stop, [&](auto done) {
//         return http.send(std::move(request), std::move(done));
//     });
template <class T>
class [[nodiscard]] Answer {
public:
    using Done = std::move_only_function<void(Result<T>)>;
    using Start = std::move_only_function<Subscription(Done)>;

    // `loop` outlives the awaiting coroutine.
    Answer(MainLoop& loop, std::stop_token stop, Start start)
        : loop_(loop), stop_(std::move(stop)), start_(std::move(start)) {}

    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    [[nodiscard]] bool await_ready() {
        if (stop_.stop_requested()) result_.emplace(failure(Error::cancelled()));
        return result_.has_value();
    }

    // False when the answer came at once: the coroutine goes straight on.
    bool await_suspend(std::coroutine_handle<> awaiting) {
        operation_ = start_([this](Result<T> result) { finish(std::move(result)); });
        if (result_) return false;
        awaiting_ = awaiting;
        onStop_.emplace(stop_, [this] {
            wakeUp_ = loop_.schedule(MainLoop::Duration::zero(), [this] { finish(failure(Error::cancelled())); });
        });
        return true;
    }

    Result<T> await_resume() {
        onStop_.reset();
        operation_.reset();
        return std::move(*result_);
    }

private:
    void finish(Result<T> result) {
        if (result_) return;
        result_.emplace(std::move(result));
        if (awaiting_) awaiting_.resume();
    }

    MainLoop& loop_;
    std::stop_token stop_;
    Start start_;
    std::optional<Result<T>> result_;
    std::coroutine_handle<> awaiting_;
    Subscription wakeUp_;
    Subscription operation_;
    std::optional<std::stop_callback<std::function<void()>>> onStop_;
};

// Awaits the passing of time; cancelled by a stop request.
[[nodiscard]] inline Answer<std::monostate> sleepFor(MainLoop& loop, MainLoop::Duration delay, std::stop_token stop) {
    return {loop, std::move(stop), [&loop, delay](auto done) {
                return loop.schedule(delay, [done = std::move(done)]() mutable { done(std::monostate{}); });
            }};
}

// Runs `work(stop)` off the main thread and awaits what it returns, a Result<T>. `work` owns all that it uses, or uses
// what any thread may.
template <class T, class Work>
[[nodiscard]] Answer<T> inBackground(MainLoop& loop, BackgroundQueue& queue, std::stop_token stop, Work work) {
    return {loop, std::move(stop), [&queue, work = std::move(work)](auto done) mutable {
                auto result = std::make_shared<std::optional<Result<T>>>();
                return queue.run([result, work = std::move(work)](
                                     std::stop_token stopped) mutable { result->emplace(work(std::move(stopped))); },
                                 [result, done = std::move(done)]() mutable { done(std::move(**result)); });
            }};
}

// What is asked of a volume, from both sides.
template <class T>
struct VolumeErrand {
    std::stop_source withdrawn;
    typename Answer<T>::Done done;  // main thread only; empty once it was taken back
    std::optional<Result<T>> result;
};

// Runs `work()` in the lane and awaits what it returns, a Result<T>. `work` owns all that it uses, or uses what any
// thread may. What was stopped or dropped before it began is never run; a result that nobody awaits any more is
// destroyed on the main thread.
template <class T, class Work>
[[nodiscard]] Answer<T> onVolume(MainLoop& loop, VolumeQueues& volumes, std::string lane, std::stop_token stop,
                                 Work work) {
    return {loop, std::move(stop),
            [&loop, &volumes, lane = std::move(lane), work = std::move(work)](auto done) mutable {
                auto errand = std::make_shared<VolumeErrand<T>>();
                errand->done = std::move(done);
                volumes.run(lane, [&loop, errand, work = std::move(work)]() mutable {
                    if (errand->withdrawn.stop_requested()) return;
                    {
                        Work doing = std::move(work);
                        errand->result.emplace(doing());
                    }
                    // Handed over rather than shared: what `done` and the result hold goes on the main thread.
                    loop.post([errand = std::move(errand)] {
                        auto report = std::exchange(errand->done, nullptr);
                        if (report) report(std::move(*errand->result));
                    });
                });
                return Subscription([errand] {
                    errand->withdrawn.request_stop();
                    errand->done = nullptr;
                });
            }};
}

}  // namespace tovri
