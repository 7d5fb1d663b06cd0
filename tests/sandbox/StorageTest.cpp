#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "SandboxTest.h"

namespace tovri::sandbox {
namespace {

constexpr std::uint64_t size = 700'001;

class StorageTest : public SandboxTest {
protected:
    FileID film_ = account().addFile(rootID, {.name = "film.mkv", .size = size});
    FileID empty_ = account().addFile(rootID, {.name = "empty.txt"});
};

TEST_F(StorageTest, sendsExactlyTheRangeThatWasAskedFor) {
    const auto whole = download(film_);
    EXPECT_EQ(whole->status, 200);
    EXPECT_EQ(whole->body, truth(film_));

    struct Case {
        const char* range;
        std::uint64_t first, count;
    };

    for (const Case& c : {Case{"bytes=0-0", 0, 1}, Case{"bytes=262143-262145", 262143, 3},
                          Case{"bytes=500000-", 500000, 200001}, Case{"bytes=-7", size - 7, 7}}) {
        SCOPED_TRACE(c.range);
        const auto part = download(film_, {{"Range", c.range}});
        EXPECT_EQ(part->status, 206);
        EXPECT_EQ(part->get_header_value("Content-Range"),
                  fmt::format("bytes {}-{}/{}", c.first, c.first + c.count - 1, size));
        EXPECT_EQ(part->body, truth(film_, c.first, c.count));
    }
    const auto beyond = download(film_, {{"Range", "bytes=700001-"}});
    EXPECT_EQ(beyond->status, 416);
    EXPECT_EQ(beyond->get_header_value("Content-Range"), "bytes */700001");
}

TEST_F(StorageTest, announcesButDoesNotSendABodyOnHead) {
    const auto head = storage_->Head("/download/" + std::to_string(film_));
    EXPECT_EQ(head->get_header_value("Content-Length"), std::to_string(size));
    EXPECT_EQ(head->get_header_value("Accept-Ranges"), "bytes");
    EXPECT_EQ(head->get_header_value("ETag"), account().find(film_)->entityTag());
    const auto empty = download(empty_);
    EXPECT_EQ(empty->status, 200);
    EXPECT_EQ(empty->get_header_value("Content-Length"), "0");
    EXPECT_EQ(download(9999)->status, 404);
}

TEST_F(StorageTest, ignoresTheRangeWhenTheContentChangedMeanwhile) {
    const auto first = download(film_);
    const std::string tag = first->get_header_value("ETag");
    const std::string date = first->get_header_value("Last-Modified");
    const std::string before = first->body;
    for (const std::string& validator : {tag, date}) {
        EXPECT_EQ(download(film_, {{"Range", "bytes=5-"}, {"If-Range", validator}})->status, 206);
    }
    EXPECT_EQ(download(film_, {{"Range", "bytes=5-"}, {"If-Range", "W/" + tag}})->status, 200);

    addFault("storage:film.mkv:change,times=1");
    const auto changed = download(film_, {{"Range", "bytes=5-"}, {"If-Range", tag}});
    EXPECT_EQ(changed->status, 200);
    EXPECT_NE(changed->body, before);
    EXPECT_EQ(changed->body, truth(film_));
    EXPECT_EQ(download(film_, {{"Range", "bytes=5-"}, {"If-Range", date}})->status, 200);
    EXPECT_EQ(account().crc32(film_), account().find(film_)->content().crc32());
}

TEST_F(StorageTest, letsAFaultStrikeAsOftenAsItWasAskedTo) {
    addFault("storage:*.mkv:cut=300000,after=1,times=2");
    EXPECT_EQ(downloadPart(empty_), "");  // does not count: another name
    EXPECT_EQ(downloadPart(film_).size(), size);
    EXPECT_EQ(downloadPart(film_), truth(film_, 0, 300000));
    EXPECT_EQ(downloadPart(film_), truth(film_, 0, 300000));
    EXPECT_EQ(downloadPart(film_), truth(film_));
    EXPECT_EQ(sandbox_.faults().uses().at(0).count, 2U);
    const auto requests = sandbox_.log().requests();
    EXPECT_EQ(requests.at(2).bytesSent, 300000U);
    EXPECT_EQ(requests.at(4).fault, "");
}

TEST_F(StorageTest, bendsRangesAndLengths) {
    addFault("storage:film.mkv:ignore-range,times=1");
    addFault("storage:film.mkv:range-shift=+1,times=1");
    addFault("storage:film.mkv:announce=+10,times=1");
    addFault("storage:film.mkv:announce=-10,times=1");
    const httplib::Headers range = {{"Range", "bytes=100-199"}};
    EXPECT_EQ(download(film_, range)->status, 200);
    const auto shifted = download(film_, range);
    EXPECT_EQ(shifted->get_header_value("Content-Range"), "bytes 101-199/700001");
    EXPECT_EQ(shifted->body, truth(film_, 101, 99));
    EXPECT_FALSE(download(film_));  // ten bytes are still missing when the connection ends
    EXPECT_EQ(download(film_)->body, truth(film_, 0, size - 10));
    EXPECT_EQ(download(film_)->body, truth(film_));
}

TEST_F(StorageTest, sendsWhatItDoesNotAnnounceAndAnnouncesWhatItDoesNotSend) {
    addFault("storage:film.mkv:size=153,times=1");
    addFault("storage:film.mkv:size=700100,hide-length,times=1");
    addFault("storage:film.mkv:range-total=-1,other-validator,ignore-if-range,times=1");
    const auto shorter = download(film_);
    EXPECT_EQ(shorter->body, truth(film_, 0, 153));
    EXPECT_EQ(shorter->get_header_value("Content-Length"), "153");
    const auto longer = download(film_);
    EXPECT_EQ(longer->body.size(), 700100U);
    EXPECT_TRUE(longer->body.starts_with(truth(film_)));
    EXPECT_FALSE(longer->has_header("Content-Length"));
    const auto part = download(film_, {{"Range", "bytes=100-199"}, {"If-Range", "\"mine\""}});
    EXPECT_EQ(part->get_header_value("Content-Range"), "bytes 100-199/700000");
    EXPECT_EQ(part->get_header_value("ETag"), "\"other-machine\"");
    EXPECT_EQ(part->body, truth(film_, 100, 100));
}

TEST_F(StorageTest, refusesAnExpiredLinkForGoodButNotTheNextOne) {
    addFault("storage:#1:expire=410,times=1");
    const auto status = [&](int link) {
        return storage_->Get(fmt::format("/download/{}?link={}", film_, link))->status;
    };
    EXPECT_EQ(status(1), 410);
    EXPECT_EQ(status(1), 410);
    EXPECT_EQ(status(2), 200);
}

TEST_F(StorageTest, dropsAndStallsWithoutHoldingAnythingBack) {
    addFault("storage:film.mkv:drop,times=1");
    addFault("storage:film.mkv:stall=1000,times=1");
    EXPECT_EQ(download(film_).error(), httplib::Error::Read);
    std::string arrived;
    {
        httplib::Client leaving(sandbox_.storageURL());
        EXPECT_FALSE(leaving.Get("/download/1", [&](const char* data, std::size_t count) {
            arrived.append(data, count);
            return arrived.size() < 1000;
        }));
    }
    EXPECT_EQ(arrived, truth(film_, 0, 1000));
    // The client has gone: its transfer must not count as running for long.
    EXPECT_TRUE(comesTrue([this] { return sandbox_.log().statistics().transfersInFlight == 0; }));
}

TEST_F(StorageTest, noticesATokenThatLeaks) {
    download(film_);
    EXPECT_EQ(sandbox_.log().statistics().authorizationOnStorage, 0U);
    download(film_, {{"Authorization", "Bearer sandbox-token"}});
    EXPECT_EQ(sandbox_.log().statistics().authorizationOnStorage, 1U);
    EXPECT_TRUE(sandbox_.log().requests().back().hasAuthorization);
}

// A client that waits for each answer before it asks again never has two in flight, whatever the server's threads do.
TEST_F(StorageTest, countsTransfersInFlightAsTheClientSeesThem) {
    const auto downloadOften = [&] {
        httplib::Client client(sandbox_.storageURL());
        for (int count = 0; count < 100; ++count) client.Get("/download/1", {{"Range", "bytes=0-20000"}});
    };
    downloadOften();
    EXPECT_EQ(sandbox_.log().statistics().maxConcurrentTransfers, 1U);
    std::vector<std::jthread> clients;
    for (int client = 0; client < 3; ++client) clients.emplace_back(downloadOften);
    clients.clear();
    EXPECT_LE(sandbox_.log().statistics().maxConcurrentTransfers, 3U);
}

}  // namespace
}  // namespace tovri::sandbox
