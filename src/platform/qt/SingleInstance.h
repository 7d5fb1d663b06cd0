#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <filesystem>
#include <functional>

namespace tovri {

// The one program that works on a data folder, and the way on which a second start reaches it: a socket in that folder,
// which its owner alone can open. The folder's lock decides who is first; this only carries the word.
class SingleInstance final : public QObject {
public:
    // Receives what a second start was given: an address, or nothing.
    using Called = std::function<void(const QString& address)>;

    explicit SingleInstance(const std::filesystem::path& dataFolder);

    // Hands the address to the running program. False when none answers.
    [[nodiscard]] bool call(const QString& address) const;

    // Listens from now on. For the holder of the folder's lock alone: what an earlier process left behind makes way.
    void listen(Called called);

    // Nobody reaches this program any more, which is about to leave the folder.
    void close() { server_.close(); }

private:
    void answer();

    QString socket_;
    QLocalServer server_;
    Called called_;
};

}  // namespace tovri
