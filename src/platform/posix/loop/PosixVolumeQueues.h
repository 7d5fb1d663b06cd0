#pragma once

#include <memory>

#include "platform/VolumeQueues.h"

namespace tovri {

// A thread for each lane that has work, which stays for a while when there is none left. Destroying the queues waits a
// little for the work; threads that still hang then are left behind, and what they have not begun is dropped.
class PosixVolumeQueues final : public VolumeQueues {
public:
    struct Patience {
        std::chrono::milliseconds idle{5000};  // how long a thread waits for more work
        std::chrono::milliseconds atEnd{2000};
    };

    PosixVolumeQueues() : PosixVolumeQueues(Patience()) {}

    explicit PosixVolumeQueues(Patience patience);
    ~PosixVolumeQueues() override;

    void run(const std::string& lane, Work work) override;
    [[nodiscard]] bool waitFor(const std::string& lane, std::chrono::milliseconds limit) override;
    [[nodiscard]] bool finish(std::chrono::milliseconds limit) override;
    void limitWaits(std::chrono::milliseconds limit) override;

private:
    class Lanes;

    std::chrono::milliseconds patienceAtEnd_;
    std::shared_ptr<Lanes> lanes_;  // with the threads, which may outlive this
};

}  // namespace tovri
