#include <numeric>

#include "service/PutIOAPI.h"
#include "service/ServiceFixture.h"
#include "service/records/ListingContinuation.h"

namespace tovri {
namespace {

class FileOperationsTest : public test::ServiceFixture {
public:
    FileOperationsTest() {
        files.put("/music/a \"b\".ogg", "12345");
        files.put("/tmp/other", "stays");
        http.handler = [this](const HTTPRequest& request) {
            body = files.content(request.bodyFile);
            return answer;
        };
        answerWith(200, R"({"file":{"id":7,"name":"a"},"status":"OK"})");
    }

    [[nodiscard]] auto upload(const std::filesystem::path& file, std::stop_token stop = {}) {
        return api.uploadFile(file, FolderID(42), {}, std::move(stop));
    }

    void expectNoTemporaryFile() {
        EXPECT_EQ(files.files("/tmp"), (std::map<std::filesystem::path, std::string>{{"/tmp/other", "stays"}}));
    }

    std::optional<std::string> body;  // of the last request, as the service read it
};

TEST_F(FileOperationsTest, askWithExactlyOneRequest) {
    answerWith(200, R"({"files":[{"id":2,"name":"z"},{"id":1,"name":"a"}],"cursor":"more","status":"OK"})");
    const Result<std::vector<PutIOFile>> listed = run(api.listFiles(FolderID(-3), never()));
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->front().name, "z");
    EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/list?parent_id=-3");

    answerWith(200, R"({"status":"OK","errors":[{"id":5}]})");
    EXPECT_TRUE(run(api.deleteFiles({FileID(5), FileID(17), FileID(3)}, never())));
    EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/delete");
    EXPECT_EQ(http.requests.back().body, "file_ids=5,17,3");
    EXPECT_TRUE(run(api.deleteFiles({}, never())));
    EXPECT_EQ(http.requests.back().body, "file_ids=");
    EXPECT_TRUE(run(api.moveFiles({FileID(5), FileID(17)}, rootFolderID, never())));
    EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/move");
    EXPECT_EQ(http.requests.back().body, "file_ids=5,17&parent_id=0");
    EXPECT_EQ(http.requests.size(), 4U);
}

TEST_F(FileOperationsTest, handOutUsableLinksOnly) {
    for (const char* good : {"https://s1.put.io/a?b=c|d", "http://127.0.0.1:80/x", "https://u:p@[2001:db8::1]/"}) {
        answerWith(200, std::string(R"({"url":")").append(good).append(R"(","status":"OK"})"));
        EXPECT_EQ(run(api.getDownloadURL(FileID(5), never())), good);
        EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/5/url");
    }
    for (const char* bad : {"", "/path", "file:///etc/passwd", "https:///path", "https://a b/", "https://h\\n/"}) {
        answerWith(200, std::string(R"({"url":")").append(bad).append(R"(","status":"OK"})"));
        const Result<std::string> link = run(api.getDownloadURL(FileID(5), never()));
        ASSERT_FALSE(link) << bad;
        EXPECT_EQ(link.error().description, "Could not get download URL.");
    }
}

TEST_F(FileOperationsTest, uploadTheFileBetweenItsBoundaries) {
    const Result<PutIOFile> uploaded = run(upload("/music/a \"b\".ogg"));
    ASSERT_TRUE(uploaded) << uploaded.error().description;
    EXPECT_EQ(uploaded->id, FileID(7));

    const HTTPRequest& request = http.requests.front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://upload.put.io/v2/files/upload");
    EXPECT_EQ(request.headers[0].second, "Bearer secret");
    const std::string type = "multipart/form-data; boundary=";
    ASSERT_TRUE(request.headers[1].second.starts_with(type));
    const std::string boundary = request.headers[1].second.substr(type.size());
    EXPECT_TRUE(UUID::parse(boundary));
    EXPECT_EQ(body, "--" + boundary + "\r\nContent-Disposition: form-data; name=\"parent_id\"\r\n\r\n42\r\n--" +
                        boundary +
                        "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"a \"b\".ogg\"\r\n"
                        "Content-Type: application/octet-stream\r\n\r\n12345\r\n--" +
                        boundary + "--\r\n");
    expectNoTemporaryFile();
}

TEST_F(FileOperationsTest, uploadFilesOfAnySizeAndName) {
    std::string large(12 * 1024 * 1024, 'x');
    large[8 * 1024 * 1024] = 'y';  // the second piece begins here
    files.put("/large", large);
    files.put("/empty", "");
    files.put("/line\r\nbreak", "");
    ASSERT_TRUE(run(upload("/large")));
    EXPECT_TRUE(body->contains("\r\n\r\n" + large + "\r\n--"));
    ASSERT_TRUE(run(upload("/empty")));
    EXPECT_TRUE(body->contains("octet-stream\r\n\r\n\r\n--"));
    ASSERT_TRUE(run(upload("/line\r\nbreak")));
    EXPECT_TRUE(body->contains("filename=\"line%0D%0Abreak\"\r\n"));
    expectNoTemporaryFile();
}

TEST_F(FileOperationsTest, aFailedUploadLeavesNothingBehind) {
    EXPECT_EQ(run(upload("/missing")).error().code, ErrorCase::file);
    EXPECT_TRUE(http.requests.empty());
    expectNoTemporaryFile();

    files.setCapacity("/", 20);
    EXPECT_EQ(run(upload("/music/a \"b\".ogg")).error().code, ErrorCase::diskFull);
    expectNoTemporaryFile();
    files.setCapacity("/", 1'000'000);

    answerWith(500, "");
    EXPECT_EQ(run(upload("/music/a \"b\".ogg")).error().description, "HTTP error 500 from put.io.");
    expectNoTemporaryFile();

    answerWith(200, R"({"transfer":{"id":1,"name":"a"}})");
    EXPECT_EQ(run(upload("/music/a \"b\".ogg")).error().description,
              "put.io took the file as a torrent: it started a transfer and did not keep the file.");
    answerWith(200, "{}");
    EXPECT_EQ(run(upload("/music/a \"b\".ogg")).error().description,
              "Unexpected answer from put.io: \"file\" should be an object but is missing.");
    expectNoTemporaryFile();

    auth.signOut();
    EXPECT_EQ(run(upload("/music/a \"b\".ogg")).error().code, ErrorCase::notAuthenticated);
}

TEST_F(FileOperationsTest, anUploadCanBeStoppedOrDroppedAnywhere) {
    background.latency = std::chrono::milliseconds(100);
    const std::chrono::milliseconds buildingSendingRemoving[] = {
        std::chrono::milliseconds(50), std::chrono::milliseconds(110), std::chrono::milliseconds(170)};
    for (const auto after : buildingSendingRemoving) {
        SCOPED_TRACE(after.count());
        std::stop_source stop;
        const auto stopped = start(upload("/music/a \"b\".ogg", stop.get_token()));
        loop.advance(after);
        stop.request_stop();
        loop.advance(std::chrono::seconds(1));
        ASSERT_TRUE(stopped->has_value());
        expectNoTemporaryFile();

        std::optional<TaskScope> dropped(std::in_place);
        dropped->start([](Task<Result<PutIOFile>> task) -> Task<void> {
            co_await std::move(task);
            ADD_FAILURE() << "went on after it was dropped";
        }(upload("/music/a \"b\".ogg")));
        loop.advance(after);
        dropped.reset();
        loop.advance(std::chrono::seconds(1));
        expectNoTemporaryFile();
    }
}

// --- Long folders ---

// A folder that the service lists page by page.
class LongFolderTest : public test::ServiceFixture {
public:
    using Page = std::vector<std::int64_t>;

    LongFolderTest() {
        http.handler = [this](const HTTPRequest& request) { return respond(request); };
    }

    [[nodiscard]] Result<FolderListing> read() {
        http.requests.clear();
        return run(longFolders.readFolder(FolderID(7), never()));
    }

    [[nodiscard]] Result<FolderListing> read(const std::vector<Page>& pages) {
        pageAt = [&](std::size_t page) { return pages.at(page); };
        cursorAfter = [&](std::size_t page) { return page + 1 < pages.size() ? cursorTo(page + 1) : ""; };
        return read();
    }

    static std::string cursorTo(std::size_t page) { return "at+" + std::to_string(page); }

    static Page idsOf(const Result<FolderListing>& listing) {
        Page ids;
        for (const PutIOFile& file : listing->files) ids.push_back(file.id.number);
        return ids;
    }

    std::function<Page(std::size_t page)> pageAt;
    std::function<std::string(std::size_t page)> cursorAfter;
    int status = 200;  // of the answers after the first
    bool isWanted = true;
    PutIOAPI longFolders{auth, http, servicePorts(platform), ServiceHosts{}, [this] { return isWanted; }};

private:
    Result<HTTPResponse> respond(const HTTPRequest& request) {
        const auto at = request.body.find("%2B");
        const std::size_t page = at == std::string::npos ? 0 : std::stoul(request.body.substr(at + 3));
        PutIOFileList list{{}, {}, cursorAfter(page), "OK"};
        for (const std::int64_t id : pageAt(page)) list.files.emplace_back().id = FileID(id);
        return HTTPResponse{page == 0 ? 200 : status, encodeJSON(list)};
    }
};

TEST_F(LongFolderTest, isReadPageByPageAndEachEntryOnce) {
    const auto listing = read({{1, 2}, {2, 3, 3}, {}});
    EXPECT_EQ(idsOf(listing), (Page{1, 2, 3}));
    EXPECT_EQ(listing->firstPageSize, 2U);
    EXPECT_FALSE(listing->cut);
    ASSERT_EQ(http.requests.size(), 3U);
    EXPECT_EQ(http.requests[0].url, "https://api.put.io/v2/files/list?parent_id=7");
    EXPECT_EQ(lastRequest(), "POST /files/list/continue cursor=at%2B2&per_page=1000");

    EXPECT_EQ(idsOf(read({{1, 1}})), (Page{1, 1}));  // as the service has it
    EXPECT_EQ(http.requests.size(), 1U);
}

TEST_F(LongFolderTest, isCutWhereTheRestCannotBeHad) {
    status = 400;
    auto listing = read({{1, 2}, {3}});
    EXPECT_EQ(idsOf(listing), (Page{1, 2}));
    EXPECT_EQ(listing->cut.value().description, "HTTP error 400 from put.io.");

    isWanted = false;
    listing = read({{1, 2}, {3}});
    EXPECT_EQ(idsOf(listing), (Page{1, 2}));
    EXPECT_EQ(listing->cut.value().code, ErrorCase::turnedOff);
    EXPECT_EQ(http.requests.size(), 1U);
}

TEST_F(LongFolderTest, endsWhateverTheServiceSays) {
    struct Case {
        const char* why;
        std::function<std::string(std::size_t)> cursorAfter;
        std::function<Page(std::size_t)> pageAt;
        std::size_t mostRequests;
        const char* reason;
    };

    const auto next = [](std::size_t page) { return cursorTo(page + 1); };
    const auto filled = [](std::size_t page, std::size_t count) {
        Page ids(count);
        std::iota(ids.begin(), ids.end(), static_cast<std::int64_t>(page * count));
        return ids;
    };
    const Case cases[] = {
        {"the same cursor for ever", [](std::size_t) { return cursorTo(1); },
         [&](std::size_t page) { return filled(page, 2); }, 3, "Its listing goes round in circles."},
        {"no entries, but more of them", next, [](std::size_t) { return Page(); }, 2,
         "Its listing goes round in circles."},
        {"one entry after the other", next, [&](std::size_t page) { return filled(page, 1); },
         ListingContinuation::mostPages + 1, "Its listing is longer than any folder can be."},
        {"full pages for ever", next, [&](std::size_t page) { return filled(page, 10'000); }, 26,
         "Its listing is longer than any folder can be."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        cursorAfter = c.cursorAfter;
        pageAt = c.pageAt;
        const auto listing = read();
        ASSERT_TRUE(listing);
        EXPECT_EQ(listing->cut.value().description, c.reason);
        EXPECT_LE(http.requests.size(), c.mostRequests);
    }
}

}  // namespace
}  // namespace tovri
