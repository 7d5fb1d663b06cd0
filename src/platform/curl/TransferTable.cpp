#include "platform/curl/TransferTable.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tovri {
namespace {

namespace fs = std::filesystem;

// How long a token waits for its bytes to become durable.
constexpr std::chrono::seconds settlingLimit{1};

void removePartial(const fs::path& partial) {
    std::error_code ignored;
    fs::remove(partial, ignored);
}

bool isPartial(const fs::directory_entry& entry) {
    std::error_code ignored;
    return UUID::parse(entry.path().filename().native()) && entry.is_regular_file(ignored);
}

}  // namespace

TransferTable::TransferTable(TransferDelegate& delegate, fs::path folder, RandomSource& random,
                             std::chrono::milliseconds idleLimit)
    : delegate_(delegate), folder_(std::move(folder)), random_(random), idleLimit_(idleLimit) {}

TransferTable::~TransferTable() {
    loop_.stop([this] {
        for (const auto& [id, entry] : entries_)
            if (entry.transfer && !entry.transfer->isResumed()) removePartial(entry.transfer->partialPath());
        entries_.clear();
    });
}

void TransferTable::run(std::move_only_function<void(TransferTable&)> job) {
    loop_.run([this, job = std::move(job)]() mutable { job(*this); });
}

void TransferTable::addForLink(TransferID id, std::string link) {
    ResumePoint origin;
    origin.link = std::move(link);
    origin.partial = random_.makeUUID();
    add(id, std::move(origin));
}

void TransferTable::addForToken(TransferID id, const Token& token) {
    if (auto origin = ResumePoint::parse(token)) return add(id, std::move(*origin));
    entries_.emplace(id, Entry{});
}

void TransferTable::add(TransferID id, ResumePoint origin) {
    const fs::path partial = pathOf(origin.partial);
    CurlTransfer::Events events{
        .wrote = [this, id](ByteCount written,
                            ByteCount expected) { delegate_.transferDidWrite(id, written, expected); },
        .ended = [this, id](Result<void> result) { didEnd(id, std::move(result)); }};
    Entry entry;
    entry.transfer = std::make_unique<CurlTransfer>(std::move(origin), partial, std::move(events));
    entries_.emplace(id, std::move(entry));
}

void TransferTable::start(TransferID id) {
    const auto found = entries_.find(id);
    if (found == entries_.end() || std::exchange(found->second.isStarted, true)) return;
    CurlTransfer* const transfer = found->second.transfer.get();
    if (transfer == nullptr)
        return fail(id,
                    {ErrorCase::transport, "The transfer cannot go on from what was saved; the download starts over."});

    if (Result<void> started = transfer->start(loop_, idleLimit_); !started) fail(id, std::move(started.error()));
}

void TransferTable::cancel(TransferID id) {
    const auto found = entries_.find(id);
    if (found == entries_.end()) return;
    if (found->second.transfer) removePartial(found->second.transfer->partialPath());
    entries_.erase(found);
}

void TransferTable::cancelProducingToken(TransferID id, TokenReceiver receive) {
    const auto found = entries_.find(id);
    if (found == entries_.end() || found->second.receive) return receive(std::nullopt);
    found->second.receive = std::move(receive);
    if (found->second.isSettling) return;
    if (found->second.transfer) found->second.transfer->stop();
    settle(id);
}

void TransferTable::didEnd(TransferID id, Result<void> result) {
    Entry& entry = entries_.at(id);
    if (!result) {
        entry.error = std::move(result.error());
        return settle(id);
    }
    const fs::path partial = entry.transfer->partialPath();
    entries_.erase(id);
    delegate_.transferDidFinish(id, partial);
    removePartial(partial);
}

void TransferTable::settle(TransferID id) {
    Entry& entry = entries_.at(id);
    entry.isSettling = true;
    if (entry.transfer == nullptr || !entry.transfer->resumePoint() || !entry.transfer->file()) return conclude(id);
    worker_.run([this, id, file = entry.transfer->file()] {
        file->synchronize();
        run([id](TransferTable& table) { table.conclude(id); });
    });
    loop_.runAfter(settlingLimit, [this, id] { conclude(id); });
}

// Does nothing when the transfer has been concluded or cancelled before.
void TransferTable::conclude(TransferID id) {
    const auto found = entries_.find(id);
    if (found == entries_.end()) return;
    Entry entry = std::move(found->second);
    entries_.erase(found);

    std::optional<Token> token;
    if (entry.transfer) {
        if (const auto point = entry.transfer->resumePoint()) token = point->encoded();
        if (!token) removePartial(entry.transfer->partialPath());
    }
    if (entry.receive) return entry.receive(std::move(token));
    entry.error->resumeToken = std::move(token).value_or(Token());
    delegate_.transferDidFail(id, std::move(*entry.error));
}

// For a transfer that could not begin: nothing is left of it.
void TransferTable::fail(TransferID id, Error error) {
    cancel(id);
    delegate_.transferDidFail(id, std::move(error));
}

void TransferTable::discard(const Token& token) {
    const auto point = ResumePoint::parse(token);
    if (point && !isInUse(pathOf(point->partial))) removePartial(pathOf(point->partial));
}

void TransferTable::discardAllBut(const std::vector<Token>& tokens) {
    std::vector<fs::path> kept;
    for (const Token& token : tokens)
        if (const auto point = ResumePoint::parse(token)) kept.push_back(pathOf(point->partial));
    std::ranges::sort(kept);

    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_, ignored))
        if (isPartial(entry) && !std::ranges::binary_search(kept, entry.path()) && !isInUse(entry.path()))
            removePartial(entry.path());
}

bool TransferTable::isInUse(const fs::path& partial) const {
    return std::ranges::any_of(entries_, [&](const auto& item) {
        return item.second.transfer && item.second.transfer->partialPath() == partial;
    });
}

}  // namespace tovri
