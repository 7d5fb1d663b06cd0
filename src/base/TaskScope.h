#pragma once

#include <stop_token>
#include <unordered_set>

#include "base/Task.h"

namespace tovri {

// Owns tasks that nobody awaits. It is the last member of the object whose `this` its tasks use: destroying it requests
// stop and drops every suspended frame before the other members go. Never destroyed from inside one of its own tasks.
class TaskScope {
public:
    TaskScope() = default;
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;
    ~TaskScope();

    // Runs the task up to its first suspension, then whenever what it waits for arrives.
    void start(Task<void> task);

    // Stopped when the scope goes; for the tasks' last parameter.
    [[nodiscard]] std::stop_token stopToken() const { return stop_.get_token(); }

    [[nodiscard]] bool isEmpty() const { return frames_.empty(); }

private:
    struct Root;

    std::stop_source stop_;
    std::unordered_set<void*> frames_;  // addresses of the suspended root frames
};

}  // namespace tovri
