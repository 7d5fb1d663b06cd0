#pragma once

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "base/TaskScope.h"
#include "downloads/connections/ConnectionBudget.h"
#include "downloads/connections/ConnectionCount.h"
#include "downloads/partials/PartialFile.h"
#include "downloads/retrying/HostBrake.h"
#include "downloads/running/receiving/AnswerCheck.h"

namespace tovri {

// The connections that a large file is fetched over beside its first one: as many as pay, and as its host has to spare.
// They only help. Whatever happens to one of them, what it has not brought is for the others to bring, and the first
// one decides what the failure of a transfer is.
class SideConnections {
public:
    // From here on a file is worth more than one.
    static constexpr ByteCount smallestFile = ByteCount{16} << 20U;

    // What it works with; outlives it.
    struct Ports {
        MainLoop& loop;
        VolumeQueues& volumes;
        TransferSession& transfers;
        HostBrakes& brakes;
        ConnectionBudget& budget;
    };

    // At most so many. `progressed` is told when one of them has brought something.
    SideConnections(const Ports& ports, std::shared_ptr<PartialFile> file, int most, std::function<void()> progressed);
    SideConnections(const SideConnections&) = delete;
    SideConnections& operator=(const SideConnections&) = delete;
    ~SideConnections();

    // What the first connection fetches. Its answer says whether others are worth trying.
    void follow(std::string link, bool hasListedChecksum);

    // The first one brings bytes, or waits for its next attempt.
    void firstBrings() { hasFirstBrought_ = true; }

    void firstPauses() { hasFirstBrought_ = false; }

    // To be called some times a second while bytes come. Opens and ends connections.
    void look();

    // Whether the volume keeps room for the whole file.
    [[nodiscard]] bool hasRoom() const { return room_ == Room::kept; }

    // How many are open.
    [[nodiscard]] int count() const { return static_cast<int>(sides_.size()); }

    // Whether some of them have brought bytes.
    [[nodiscard]] bool haveHelped() const { return haveHelped_; }

    // Whether bytes come over them.
    [[nodiscard]] bool areBringing() const;

    // Returns when one has ended, or at once where there is none: the first one has nothing to bring meanwhile. Ends
    // them where they bring hardly anything.
    Task<Result<void>> oneEnds(std::stop_token stop);

private:
    struct Side;

    // Whether there is room on the volume for parts in their places.
    enum class Room { unknown, asked, kept, none };

    [[nodiscard]] bool areWorthTrying() const;
    [[nodiscard]] int running() const;
    Task<> keepRoom();
    void adjust();
    void begin(RangePlan::Share share);
    Task<> bring(std::shared_ptr<Side> side);
    [[nodiscard]] TransferRequest request(const std::shared_ptr<Side>& side);
    void judge(const Side& side, const TransferEnd& end);
    void end(const std::shared_ptr<Side>& side);
    void endAll();

    const Ports ports_;
    const std::shared_ptr<PartialFile> file_;
    const int most_;
    const std::function<void()> progressed_;
    std::string link_;
    std::string host_;
    bool hasListedChecksum_ = false;
    bool hasFirstBrought_ = false;
    bool haveHelped_ = false;
    std::optional<MainLoop::TimePoint> lastBrought_;
    Room room_ = Room::unknown;
    ConnectionCount count_;
    std::unique_ptr<ConnectionBudget::Share> granted_;
    std::list<std::shared_ptr<Side>> sides_;  // the youngest last
    std::function<void()> ended_;             // whoever awaits that one ends
    Subscription telling_;
    TaskScope scope_;
};

}  // namespace tovri
