#include "widgets/window/Ending.h"

#include <utility>

namespace tovri {

void Ending::begin(Done done) {
    if (std::exchange(hasBegun_, true)) return;
    app_.syncManager().stopPolling();
    app_.downloadManager().suspend(
        [this, done = std::move(done)] { done(app_.appDelegate().applicationWillTerminate()); });
}

}  // namespace tovri
