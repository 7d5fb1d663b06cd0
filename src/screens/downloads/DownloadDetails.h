#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Signal.h"
#include "downloads/DownloadManager.h"
#include "platform/Workspace.h"
#include "screens/Details.h"
#include "service/requests/ServiceHosts.h"

namespace tovri {

// What there is to say of one download. `connections` are those over which its bytes come at the moment; `holdReason`
// is for what the whole queue waits, where it does.
[[nodiscard]] Details downloadDetails(const Download& item, const WallClock& clock, int connections = 0,
                                      const std::optional<std::string>& holdReason = std::nullopt);

// The details of the downloads that are selected, followed while they change. What changes all the time is told a few
// times a second.
class DownloadDetails {
public:
    // What the references name outlives this.
    struct Surroundings {
        DownloadManager& manager;
        Workspace& workspace;
        MainLoop& loop;
        const WallClock& clock;
        ServiceHosts hosts;
    };

    explicit DownloadDetails(Surroundings around);

    // Told when they read differently.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

    // These, from now on; none while nobody looks, and then nothing is followed.
    void select(const std::vector<UUID>& items);

    [[nodiscard]] const Details& shown() const { return shown_; }

    // Of the one download that is shown.
    void perform(DetailsAction action) const;

private:
    void follow(const QueueChange& change);
    void renew();
    void show(Details details);

    Surroundings around_;
    ConstDownloadPointer item_;  // null where not just one is selected
    Details shown_;
    Signal<> changes_;
    Subscription renewal_;
    Subscription countdown_;
    Subscription queue_;
};

}  // namespace tovri
