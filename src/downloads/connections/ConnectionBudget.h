#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>

namespace tovri {

// The connections that may be open to a host, divided among the items that are fetched from it: each has one, and what
// is left goes round. When another item comes, the ones that have more than their part are told at once. Main thread.
class ConnectionBudget {
public:
    static constexpr int perHost = 6;

    class Share;

    ConnectionBudget() = default;
    ConnectionBudget(const ConnectionBudget&) = delete;
    ConnectionBudget& operator=(const ConnectionBudget&) = delete;

    // An item begins to use the host, with one connection; for as long as the share stands. `changed` is called when
    // what it is granted has become another number by what others do. The budget outlives its shares.
    [[nodiscard]] std::unique_ptr<Share> join(std::string host, std::function<void()> changed);

private:
    void divide();
    void tell();

    std::list<Share*> shares_;  // in the order of their coming
};

// What one item has of a host's connections.
class ConnectionBudget::Share {
public:
    Share(ConnectionBudget& budget, std::string host, std::function<void()> changed);
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;
    ~Share();

    // How many it could use; at least 1. What it is granted for that is told to the others alone.
    void want(int count);

    // How many it may use; at least 1, at most what it wants.
    [[nodiscard]] int granted() const { return granted_; }

private:
    friend ConnectionBudget;

    ConnectionBudget& budget_;
    const std::string host_;
    std::function<void()> changed_;
    int wanted_ = 1;
    int granted_ = 1;
    int told_ = 1;  // of what is granted
};

}  // namespace tovri
