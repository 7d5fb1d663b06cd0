// The saved queue in the hands of a process that only edits it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "support/WholeText.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using enum DownloadStatus;

class Editing : public testing::Test {
public:
    // The process that ran ends, and another opens what it saved.
    DownloadManager& open() {
        world.kill();
        editor_.emplace(world.ports());
        editor_->configure(service_, world.preferences);
        editor_->openForEditing();
        world.files.operations.clear();
        return *editor_;
    }

    DownloadManager& open(const std::vector<Status>& statuses) {
        QueueSnapshot queue;
        for (const Status status : statuses) {
            DownloadRecord& item = queue.downloads.emplace_back();
            item.id = world.random.makeUUID();
            item.fileSize = 10;
            item.bytesDownloaded = 5;
            item.progress = 0.5;
            item.destinationFolder = std::make_shared<const World::Path>(World::downloads);
            item.status = status;
        }
        world.files.put(World::queueFile,
                        wholeText([&](const FileManager::Sink& sink) { return encodeQueue(queue, sink); }));
        return open();
    }

    [[nodiscard]] std::vector<Status> statuses() const {
        std::vector<Status> all;
        for (const ConstDownloadPointer& item : editor_->downloads().items()) all.push_back(item->status);
        return all;
    }

    World world;

private:
    PutIOAPI api_{world.auth(), world.http, servicePorts(world.platform()), ServiceHosts{}};
    PutIODownloadService service_{api_};
    std::optional<DownloadManager> editor_;
};

const std::vector<Status> oneOfEach{queued, downloading, awaitingConflict, paused,   completed,
                                    failed, cancelled,   skipped,          deleting, remoteDeleteFailed};

// A queue with all that a restoring process would set right: an open conflict, a transfer that was torn off, files that
// nobody names.
TEST_F(Editing, leavesAllButTheQueueFileToTheNextProcess) {
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    world.files.put(World::downloads / "taken", "old");
    world.enqueue(world.addFile("taken", "new"));
    const FileID slow = world.addFile("slow", std::string(1000, 'x'));
    world.link(slow).rate = 100;
    const ConstDownloadPointer item = world.enqueue(slow);
    world.loop.advance(5s);
    world.manager().pause(item);
    world.loop.advance(1s);
    world.manager().resume(item);
    world.loop.advance(1s);
    world.files.put(World::staging / "orphan", "x");
    const std::string saved = *world.files.content(World::queueFile);

    DownloadManager& editor = open();
    EXPECT_TRUE(editor.saveNow());
    EXPECT_EQ(world.files.content(World::queueFile), saved);
    editor.cancelAll();
    editor.remove(editor.downloads().items()[0]);
    editor.clearFinished();
    editor.resumeAll();
    world.settle();
    EXPECT_TRUE(editor.saveNow());
    EXPECT_THAT(world.files.operations, Each("writeFileAtomically " + World::queueFile.native()));
    EXPECT_EQ(world.files.files(World::staging).size(), 2U);
    EXPECT_EQ(world.partialFiles().size(), 1U);

    world.start();
    world.settle();
    EXPECT_EQ(world.tree(), "taken=old");
    EXPECT_TRUE(world.files.files(World::staging).empty());
    EXPECT_TRUE(world.files.files(World::partials).empty());
}

TEST_F(Editing, changesOnlyWhatIsInAStateForIt) {
    DownloadManager& editor = open(oneOfEach);
    for (const ConstDownloadPointer& item : editor.downloads().items()) editor.pause(item);
    EXPECT_THAT(statuses(), ElementsAre(paused, paused, awaitingConflict, paused, completed, failed, cancelled, skipped,
                                        deleting, remoteDeleteFailed));
    EXPECT_FALSE(editor.isPaused()) << "single items do not pause the queue";
    for (const ConstDownloadPointer& item : editor.downloads().items()) editor.resume(item);
    EXPECT_THAT(statuses(), ElementsAre(queued, queued, awaitingConflict, queued, completed, failed, cancelled, skipped,
                                        deleting, remoteDeleteFailed));
    editor.cancelAll();
    EXPECT_THAT(statuses(), ElementsAre(cancelled, cancelled, cancelled, cancelled, completed, failed, cancelled,
                                        skipped, deleting, remoteDeleteFailed));
    EXPECT_EQ(editor.downloads().items()[0]->completedAt, world.clock.now());
    editor.clearFinished();
    EXPECT_THAT(statuses(), ElementsAre(deleting));
}

// A paused item may come back by another way than a restore, which would have put this right.
TEST_F(Editing, keepsProgressOnlyWithAToken) {
    DownloadManager& editor = open({downloading, downloading});
    const auto items = editor.downloads().withStatus(downloading);
    changeable(items[0]).resumeData = "token";
    editor.pauseAll();
    EXPECT_TRUE(editor.isPaused());
    EXPECT_EQ(items[0]->bytesDownloaded, 5);
    EXPECT_EQ(items[1]->bytesDownloaded, 0);
    editor.resumeAll();
    EXPECT_EQ(items[0]->resumeData, "token");
    EXPECT_THAT(statuses(), ElementsAre(queued, queued)) << "nothing starts";
}

TEST_F(Editing, saysWhetherItCouldSave) {
    DownloadManager& editor = open(oneOfEach);
    world.files.failNext("writeFileAtomically", World::queueFile, {ErrorCase::file, "The disk is full."});
    EXPECT_FALSE(editor.saveNow());
    EXPECT_TRUE(editor.saveNow());
}

}  // namespace
}  // namespace tovri::test
