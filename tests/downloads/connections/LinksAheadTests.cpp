#include <algorithm>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/connections/LinksAhead.h"
#include "platform/Await.h"
#include "support/SeededRandom.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// Has a new link at each look-up, 40 ms later. Asked for nothing else.
class LinkService final : public DownloadService {
public:
    explicit LinkService(VirtualLoop& loop) : loop_(loop) {}

    Task<Result<std::string>> downloadLink(FileID file, std::stop_token stop) override {
        asked.push_back(file);
        const std::string number = std::to_string(asked.size());
        Result<std::monostate> waited = co_await sleepFor(loop_, 40ms, std::move(stop));
        if (!waited) ++withdrawn;
        if (!waited) co_return failure(waited);
        if (file == broken) co_return failure(Error(ErrorCase::transport, "Nobody answers."));
        co_return file.text() + " at " + number;
    }

    Task<Result<PutIOFile>> file(FileID /*file*/, std::stop_token /*stop*/) override { return nothing<PutIOFile>(); }

    Task<Result<bool>> isAbsent(FileID /*entry*/, std::stop_token /*stop*/) override { return nothing<bool>(); }

    Task<Result<FolderListing>> readFolder(FolderID /*folder*/, std::stop_token /*stop*/) override {
        return nothing<FolderListing>();
    }

    Task<Result<std::string>> account(std::stop_token /*stop*/) override { return nothing<std::string>(); }

    Task<Result<void>> deleteFile(FileID /*file*/, std::stop_token /*stop*/) override { return nothing<void>(); }

    std::vector<FileID> asked;
    int withdrawn = 0;
    FileID broken;

private:
    template <class T>
    static Task<Result<T>> nothing() {
        co_return failure(Error(ErrorCase::transport, "Not asked for here."));
    }

    VirtualLoop& loop_;
};

class LinksAheadTest : public testing::Test {
public:
    LinksAheadTest() { links.configure(service); }

    void prepare(const std::vector<std::int64_t>& files) {
        links.prepare(std::vector<FileID>(files.begin(), files.end()));
    }

    // The link that the file gets, or "none"; "waits" while it is on its way.
    std::string& take(FileID file) {
        std::string& taken = given[file] = "waits";
        scope.start(take(file, &taken));
        return taken;
    }

    Task<> take(FileID file, std::string* taken) {
        std::shared_ptr<LinksAhead::Look> look = links.take(file);
        std::optional<std::string> link;
        if (look) link = co_await links.linkOf(std::move(look), stop.get_token());
        *taken = link.value_or("none");
    }

    VirtualLoop loop;
    LinkService service{loop};
    SeededRandom random;
    HostBrakes brakes{loop, random};
    LinksAhead links{loop, random, brakes};
    std::stop_source stop;
    std::map<FileID, std::string> given;
    TaskScope scope;
};

TEST_F(LinksAheadTest, givesEachLinkOnce) {
    prepare({7, 8, 7});
    EXPECT_THAT(service.asked, ElementsAre(FileID(7), FileID(8)));
    loop.advance(50ms);
    prepare({7, 8});
    EXPECT_EQ(take(FileID(7)), "7 at 1");
    EXPECT_EQ(take(FileID(7)), "none");
    EXPECT_EQ(take(FileID(9)), "none");
    prepare({8, 9});
    EXPECT_THAT(service.asked, ElementsAre(FileID(7), FileID(8), FileID(9)));
    const std::string& coming = take(FileID(9));
    EXPECT_EQ(coming, "waits");
    loop.advance(50ms);
    EXPECT_EQ(coming, "9 at 3");
}

TEST_F(LinksAheadTest, dropsWhatDoesNotComeNextAnyMore) {
    prepare({7, 8});
    loop.advance(10ms);
    prepare({8, 9});
    loop.advance(50ms);
    EXPECT_EQ(service.withdrawn, 1);
    EXPECT_EQ(take(FileID(7)), "none");
    EXPECT_EQ(take(FileID(8)), "8 at 2");
    prepare({});
    EXPECT_EQ(take(FileID(9)), "none");
}

TEST_F(LinksAheadTest, usesNoLinkForLongAndAsksForItAgain) {
    prepare({7, 8});
    loop.advance(61s);
    EXPECT_EQ(take(FileID(8)), "none");
    prepare({7});
    EXPECT_THAT(service.asked, ElementsAre(FileID(7), FileID(8), FileID(7)));
    loop.advance(59s);
    EXPECT_EQ(take(FileID(7)), "7 at 3");
}

TEST_F(LinksAheadTest, failsNobody) {
    service.broken = FileID(7);
    prepare({7});
    const std::string& failing = take(FileID(7));
    loop.advance(50ms);
    EXPECT_EQ(failing, "none");
    prepare({8});
    const std::string& stopped = take(FileID(8));
    loop.advance(10ms);
    stop.request_stop();
    loop.advance(50ms);
    EXPECT_EQ(stopped, "none");
    EXPECT_EQ(service.withdrawn, 1);  // nobody is left to use it
    EXPECT_TRUE(loop.isIdle());
}

TEST_F(LinksAheadTest, mayGoWhileItAsks) {
    auto ending = std::make_unique<LinksAhead>(loop, random, brakes);
    ending->configure(service);
    ending->prepare({FileID(7)});
    ending.reset();
    EXPECT_TRUE(loop.isIdle());
    LinksAhead idle(loop, random, brakes);
    idle.prepare({FileID(7)});  // before it knows whom to ask
    EXPECT_THAT(service.asked, ElementsAre(FileID(7)));
}

}  // namespace
}  // namespace tovri::test
