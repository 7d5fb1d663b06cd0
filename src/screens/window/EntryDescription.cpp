#include "screens/window/EntryDescription.h"

#include "base/ByteCountFormat.h"
#include "platform/Await.h"
#include "screens/DateText.h"

namespace tovri {
namespace {

constexpr const char* dot = " · ";

std::string textOf(const EntryFacts& facts, const WallClock& clock) {
    std::string text;
    if (facts.isFolder) text.append("Folder").append(dot);
    if (facts.size) text.append(formatByteCount(*facts.size)).append(dot);
    return text + dateText(facts.modified, clock);
}

}  // namespace

Task<std::string> describeEntry(EntryPorts ports, std::filesystem::path path, std::stop_token stop) {
    using Facts = std::optional<EntryFacts>;
    const std::string lane = "look " + path.parent_path().native();
    auto look = [&entries = ports.entries, path]() -> Result<Facts> { return entries.look(path); };
    Result<Facts> facts = co_await onVolume<Facts>(ports.loop, ports.volumes, lane, std::move(stop), std::move(look));
    if (!facts) co_return "";
    co_return *facts ? textOf(**facts, ports.clock) : "Not there";
}

}  // namespace tovri
