#pragma once

#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/TransferSession.h"
#include "support/MemoryFileManager.h"
#include "support/VirtualLoop.h"

namespace tovri::test {

// The far side of simulated transfers: what each link serves, and how it misbehaves. Outlives the sessions.
class SimulatedStorage {
public:
    struct Break {
        ByteCount at = 0;         // the connection breaks when the file holds so many bytes
        bool isResumable = true;  // whether a token comes with the failure
        int times = 1;            // how many transfers it strikes
    };

    struct Link {
        std::string content;
        ByteCount rate = 10'000'000;  // bytes in a second
        int status = 200;
        bool announcesLength = true;
        int refusedResumes = 0;  // so many resumed transfers fail at once
        std::vector<Break> breaks;
    };

    std::map<std::string, Link> links;  // by URL; any other answers 404
    MainLoop::Duration latency = std::chrono::milliseconds(10);
    MainLoop::Duration settling = {};  // how long a token waits for its bytes to become durable
    FileManager::Path folder = "/data/Tovri/Partials";

    // What happened so far.
    std::vector<std::string> started;  // URLs, in the order of their starts; those of resumed transfers included
    int resumed = 0;                   // how many of these went on from a token
    int partials = 0;                  // partial files that were begun; no two have the same name
    int running = 0;
    int highestRunning = 0;
    int highestConnected = 0;  // of the running ones, the others waited for a connection
};

// Transfers in virtual time, with partial files in a memory file manager and progress every 50 milliseconds. All links
// are one host's. Its thread is the loop's.
class SimulatedTransferSession final : public TransferSession {
public:
    SimulatedTransferSession(VirtualLoop& loop, MemoryFileManager& files, SimulatedStorage& storage,
                             TransferDelegate& delegate);
    ~SimulatedTransferSession() override;

    [[nodiscard]] TransferID makeTransfer(std::string url) override;
    [[nodiscard]] TransferID resumeTransfer(const ResumeToken& token) override;
    void start(TransferID transfer) override;
    void cancel(TransferID transfer) override;
    void cancelProducingToken(TransferID transfer, TokenReceiver receive) override;
    void discard(const ResumeToken& token) override;
    void discardAllBut(const std::vector<ResumeToken>& tokens) override;

private:
    struct Transfer;

    void connectWaiting();
    void begin(TransferID id);
    void step(TransferID id);
    void scheduleStep(Transfer& transfer, TransferID id, ByteCount end);
    void fail(TransferID id, Error error);
    void finish(TransferID id);
    [[nodiscard]] std::unique_ptr<Transfer> take(TransferID id);
    [[nodiscard]] std::optional<ResumeToken> token(const Transfer& transfer);

    VirtualLoop& loop_;
    MemoryFileManager& files_;
    SimulatedStorage& storage_;
    TransferDelegate& delegate_;
    TransferID nextID_ = 1;
    std::vector<TransferID> waiting_;  // for a connection
    int connected_ = 0;
    std::map<TransferID, std::unique_ptr<Transfer>> transfers_;
    std::vector<Subscription> settling_;
};

// For whoever makes the session on its first need.
[[nodiscard]] TransferSessionFactory simulatedTransfers(VirtualLoop& loop, MemoryFileManager& files,
                                                        SimulatedStorage& storage);

}  // namespace tovri::test
