#include "widgets/window/Ending.h"

#include <chrono>
#include <utility>

namespace tovri {

void Ending::begin(Done done) {
    using namespace std::chrono_literals;
    if (std::exchange(hasBegun_, true)) return;
    done_ = std::move(done);
    app_.syncManager().stopPolling();
    deadline_ = loop_.schedule(1500ms, [this] { finish(); });
    app_.downloadManager().suspend([this] { finish(); });
}

void Ending::finish() {
    const auto done = std::exchange(done_, nullptr);
    if (!done) return;
    deadline_.reset();
    done(app_.appDelegate().applicationWillTerminate());
}

}  // namespace tovri
