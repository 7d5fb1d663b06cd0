#include <algorithm>
#include <chrono>

#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

const World::Path journal = World::data / "placements.journal";

// Two files that arrive one after the other, and a process that dies while it notes one of them.
class CutJournal : public World {
public:
    // So many have their names already; the next is noted and has not got its own.
    explicit CutJournal(std::size_t placed) {
        preferences.setConflictBehavior(ConflictBehavior::keepBoth);
        preferences.setMaxConcurrentDownloads(1);
        enqueue(addFile("first", "1"));
        enqueue(addFile("second", "2"));
        EXPECT_TRUE(manager().saveNow());
        volumes.hang("saves");  // so that the journal has to know everything
        files.failNext("moveItem", downloads / (placed == 0 ? "first" : "second"), {ErrorCase::file, "killed"});
        EXPECT_TRUE(loop.runUntil([&] {
            const std::string note = "appendToFile " + journal.native();
            return static_cast<std::size_t>(std::ranges::count(files.operations, note)) == placed + 1;
        }));
        kill();
    }

    // What arrives in the next process is noted behind the cut, and read by the one after that.
    void goOn(const std::string& text) {
        files.put(journal, text);
        start();
        loop.advance(std::chrono::seconds(10));
        kill();
        volumes.goOn("saves");
        start();
        settle();
    }
};

TEST(PlacementJournal, isReadRightWhereverItWasCut) {
    for (const std::size_t placed : {0U, 1U}) {
        const std::string whole = *CutJournal(placed).files.content(journal);
        for (std::size_t length = placed == 0 ? 0 : whole.find('\n') + 1; length <= whole.size(); ++length) {
            CutJournal world(placed);
            world.goOn(world.files.content(journal)->substr(0, length));
            ASSERT_EQ(world.tree(), "first=1 second=2") << placed << " placed, cut at " << length;
        }
    }
}

}  // namespace
}  // namespace tovri::test
