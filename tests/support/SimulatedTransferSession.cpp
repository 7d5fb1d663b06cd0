#include "support/SimulatedTransferSession.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace tovri::test {

using Path = FileManager::Path;

struct SimulatedTransferSession::Transfer {
    std::string url;
    Path partial;
    ByteCount written = 0;
    bool isResumed = false;
    bool isRunning = false;
    bool isConnected = false;
    std::optional<ResumeToken> origin;          // the token it was made from
    SimulatedStorage::Break* breaks = nullptr;  // strikes this transfer
    Subscription next;
};

namespace {

constexpr ByteCount stepsInASecond = 20;
constexpr int mostConnections = 6;

struct TokenFields {
    Path partial;
    ByteCount offset = 0;
    std::size_t validator = 0;
    std::string url;
};

std::optional<TokenFields> parsed(const TransferSession::ResumeToken& token) {
    TokenFields fields;
    std::string partial;
    std::istringstream text(token);
    std::string mark;
    if (!(text >> mark >> partial >> fields.offset >> fields.validator >> fields.url) || mark != "resume")
        return std::nullopt;
    fields.partial = partial;
    return fields;
}

std::size_t validatorOf(const SimulatedStorage::Link& link) {
    return std::hash<std::string>()(link.content);
}

Error broken(const std::string& text) {
    return {ErrorCase::transport, text};
}

}  // namespace

SimulatedTransferSession::SimulatedTransferSession(VirtualLoop& loop, MemoryFileManager& files,
                                                   SimulatedStorage& storage, TransferDelegate& delegate)
    : loop_(loop), files_(files), storage_(storage), delegate_(delegate) {}

SimulatedTransferSession::~SimulatedTransferSession() {
    for (const auto& [id, transfer] : transfers_)
        if (transfer->isRunning) --storage_.running;
}

TransferID SimulatedTransferSession::makeTransfer(std::string url) {
    auto transfer = std::make_unique<Transfer>();
    transfer->url = std::move(url);
    transfers_[nextID_] = std::move(transfer);
    return nextID_++;
}

TransferID SimulatedTransferSession::resumeTransfer(const ResumeToken& token) {
    auto transfer = std::make_unique<Transfer>();
    transfer->isResumed = true;
    transfer->origin = token;
    if (const auto fields = parsed(token)) {
        transfer->url = fields->url;
        transfer->partial = fields->partial;
        transfer->written = fields->offset;
    }
    transfers_[nextID_] = std::move(transfer);
    return nextID_++;
}

void SimulatedTransferSession::start(TransferID transfer) {
    const auto found = transfers_.find(transfer);
    if (found == transfers_.end()) return;  // cancelled before it began
    Transfer& started = *found->second;
    started.isRunning = true;
    storage_.started.push_back(started.url);
    if (started.isResumed) ++storage_.resumed;
    storage_.highestRunning = std::max(storage_.highestRunning, ++storage_.running);
    waiting_.push_back(transfer);
    connectWaiting();
}

void SimulatedTransferSession::connectWaiting() {
    while (connected_ < mostConnections && !waiting_.empty()) {
        const TransferID id = waiting_.front();
        waiting_.erase(waiting_.begin());
        Transfer& transfer = *transfers_.at(id);
        transfer.isConnected = true;
        storage_.highestConnected = std::max(storage_.highestConnected, ++connected_);
        transfer.next = loop_.schedule(storage_.latency, [this, id] { begin(id); });
    }
}

void SimulatedTransferSession::begin(TransferID id) {
    Transfer& transfer = *transfers_.at(id);
    const auto found = storage_.links.find(transfer.url);
    const int status = found == storage_.links.end() ? 404 : found->second.status;
    if (status < 200 || status > 299) {
        Error error(ErrorCase::httpStatus, "HTTP error " + std::to_string(status) + " from put.io.");
        error.httpStatus = status;
        fail(id, std::move(error));
        return;
    }
    SimulatedStorage::Link& link = found->second;
    if (transfer.isResumed) {
        const auto fields = parsed(*transfer.origin);
        const bool isRefused = link.refusedResumes > 0 && link.refusedResumes-- > 0;
        const auto size = files_.fileSize(transfer.partial);
        if (isRefused || !fields || fields->validator != validatorOf(link) || !size || *size < transfer.written) {
            fail(id, broken("The download cannot go on where it broke off."));
            return;
        }
        files_.put(transfer.partial, link.content.substr(0, static_cast<std::size_t>(transfer.written)));
    } else {
        transfer.partial = storage_.folder / ("partial-" + std::to_string(++storage_.partials));
        files_.put(transfer.partial, "");
    }
    const auto strikes = [&](const SimulatedStorage::Break& fault) {
        return fault.times > 0 && fault.at >= transfer.written;
    };
    const auto fault = std::ranges::find_if(link.breaks, strikes);
    if (fault != link.breaks.end()) {
        transfer.breaks = &*fault;
        --fault->times;
    }
    step(id);
}

// Ends the transfer where it has come to its end, and otherwise plans the next arrival of bytes.
void SimulatedTransferSession::step(TransferID id) {
    Transfer& transfer = *transfers_.at(id);
    const SimulatedStorage::Link& link = storage_.links.at(transfer.url);
    if (transfer.breaks != nullptr && transfer.written >= transfer.breaks->at) {
        Error error = broken("The connection broke.");
        if (transfer.breaks->isResumable) error.resumeToken = token(transfer).value_or("");
        fail(id, std::move(error));
        return;
    }
    const auto size = static_cast<ByteCount>(link.content.size());
    if (transfer.written >= size) {
        finish(id);
        return;
    }
    scheduleStep(transfer, id, transfer.breaks != nullptr ? std::min(transfer.breaks->at, size) : size);
}

void SimulatedTransferSession::scheduleStep(Transfer& transfer, TransferID id, ByteCount end) {
    const ByteCount rate = std::max<ByteCount>(storage_.links.at(transfer.url).rate, 1);
    const ByteCount step = std::min(end - transfer.written, std::max<ByteCount>(rate / stepsInASecond, 1));
    const auto delay =
        std::min<MainLoop::Duration>(std::chrono::seconds(1), std::chrono::nanoseconds(step * 1'000'000'000 / rate));
    transfer.next = loop_.schedule(delay, [this, id, step] {
        Transfer& running = *transfers_.at(id);
        const SimulatedStorage::Link& link = storage_.links.at(running.url);
        const auto bytes = std::string_view(link.content)
                               .substr(static_cast<std::size_t>(running.written), static_cast<std::size_t>(step));
        if (auto fine = files_.append(running.partial, bytes); !fine) {
            fail(id, std::move(fine.error()));
            return;
        }
        running.written += step;
        delegate_.transferDidWrite(id, running.written,
                                   link.announcesLength ? static_cast<ByteCount>(link.content.size()) : ByteCount(-1));
        if (transfers_.contains(id)) this->step(id);
    });
}

void SimulatedTransferSession::fail(TransferID id, Error error) {
    const auto ended = take(id);
    if (error.resumeToken.empty()) static_cast<void>(files_.removeItem(ended->partial));
    delegate_.transferDidFail(id, std::move(error));
}

void SimulatedTransferSession::finish(TransferID id) {
    const auto ended = take(id);
    delegate_.transferDidFinish(id, ended->partial);
    if (files_.exists(ended->partial)) static_cast<void>(files_.removeItem(ended->partial));
}

void SimulatedTransferSession::cancel(TransferID transfer) {
    const auto ended = take(transfer);
    if (ended && !ended->partial.empty()) static_cast<void>(files_.removeItem(ended->partial));
}

void SimulatedTransferSession::cancelProducingToken(TransferID transfer, TokenReceiver receive) {
    const auto ended = take(transfer);
    std::optional<ResumeToken> made;
    if (ended) made = ended->isRunning ? token(*ended) : ended->origin;
    if (ended && !made && !ended->partial.empty()) static_cast<void>(files_.removeItem(ended->partial));
    auto give = [made = std::move(made), receive = std::move(receive)]() mutable { receive(std::move(made)); };
    if (ended && storage_.settling > MainLoop::Duration::zero())
        settling_.push_back(loop_.schedule(storage_.settling, std::move(give)));
    else
        loop_.post(std::move(give));
}

void SimulatedTransferSession::discard(const ResumeToken& token) {
    const auto fields = parsed(token);
    if (fields && files_.exists(fields->partial)) static_cast<void>(files_.removeItem(fields->partial));
}

void SimulatedTransferSession::discardAllBut(const std::vector<ResumeToken>& tokens) {
    std::set<Path> kept;
    for (const ResumeToken& token : tokens)
        if (const auto fields = parsed(token)) kept.insert(fields->partial);
    for (const auto& [id, transfer] : transfers_) kept.insert(transfer->partial);
    const auto partials = files_.directoryContents(storage_.folder);
    if (!partials) return;
    for (const Path& partial : *partials)
        if (!kept.contains(partial)) static_cast<void>(files_.removeItem(partial));
}

// Takes a transfer off the list; null when it has ended before.
std::unique_ptr<SimulatedTransferSession::Transfer> SimulatedTransferSession::take(TransferID id) {
    auto taken = transfers_.extract(id);
    if (taken.empty()) return nullptr;
    if (taken.mapped()->isRunning) --storage_.running;
    taken.mapped()->next.reset();
    if (taken.mapped()->isConnected) --connected_;
    std::erase(waiting_, id);
    connectWaiting();
    return std::move(taken.mapped());
}

std::optional<TransferSession::ResumeToken> SimulatedTransferSession::token(const Transfer& transfer) {
    const auto link = storage_.links.find(transfer.url);
    if (transfer.written == 0 || link == storage_.links.end()) return std::nullopt;
    static_cast<void>(files_.makeDurable(transfer.partial));
    return "resume " + transfer.partial.string() + " " + std::to_string(transfer.written) + " " +
           std::to_string(validatorOf(link->second)) + " " + transfer.url;
}

TransferSessionFactory simulatedTransfers(VirtualLoop& loop, MemoryFileManager& files, SimulatedStorage& storage) {
    return [&](TransferDelegate& delegate) {
        return std::make_unique<SimulatedTransferSession>(loop, files, storage, delegate);
    };
}

}  // namespace tovri::test
