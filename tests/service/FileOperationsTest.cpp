#include "service/PutIOAPI.h"
#include "service/ServiceFixture.h"

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
        return api.uploadFile(file, 42, {}, std::move(stop));
    }

    void expectNoTemporaryFile() {
        EXPECT_EQ(files.files("/tmp"), (std::map<std::filesystem::path, std::string>{{"/tmp/other", "stays"}}));
    }

    std::optional<std::string> body;  // of the last request, as the service read it
};

TEST_F(FileOperationsTest, askWithExactlyOneRequest) {
    answerWith(200, R"({"files":[{"id":2,"name":"z"},{"id":1,"name":"a"}],"cursor":"more","status":"OK"})");
    const Result<std::vector<PutIOFile>> listed = run(api.listFiles(-3, never()));
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->front().name, "z");
    EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/list?parent_id=-3");

    answerWith(200, R"({"status":"OK","errors":[{"id":5}]})");
    EXPECT_TRUE(run(api.deleteFiles({5, 17, 3}, never())));
    EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/delete");
    EXPECT_EQ(http.requests.back().body, "file_ids=5,17,3");
    EXPECT_TRUE(run(api.deleteFiles({}, never())));
    EXPECT_EQ(http.requests.back().body, "file_ids=");
    EXPECT_TRUE(run(api.moveFiles({5, 17}, 0, never())));
    EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/move");
    EXPECT_EQ(http.requests.back().body, "file_ids=5,17&parent_id=0");
    EXPECT_EQ(http.requests.size(), 4U);
}

TEST_F(FileOperationsTest, handOutUsableLinksOnly) {
    for (const char* good : {"https://s1.put.io/a?b=c|d", "http://127.0.0.1:80/x", "https://u:p@[2001:db8::1]/"}) {
        answerWith(200, std::string(R"({"url":")").append(good).append(R"(","status":"OK"})"));
        EXPECT_EQ(run(api.getDownloadURL(5, never())), good);
        EXPECT_EQ(http.requests.back().url, "https://api.put.io/v2/files/5/url");
    }
    for (const char* bad : {"", "/path", "file:///etc/passwd", "https:///path", "https://a b/", "https://h\\n/"}) {
        answerWith(200, std::string(R"({"url":")").append(bad).append(R"(","status":"OK"})"));
        const Result<std::string> link = run(api.getDownloadURL(5, never()));
        ASSERT_FALSE(link) << bad;
        EXPECT_EQ(link.error().description, "Could not get download URL.");
    }
}

TEST_F(FileOperationsTest, uploadTheFileBetweenItsBoundaries) {
    const Result<PutIOFile> uploaded = run(upload("/music/a \"b\".ogg"));
    ASSERT_TRUE(uploaded) << uploaded.error().description;
    EXPECT_EQ(uploaded->id, 7);

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
    EXPECT_EQ(run(upload("/music/a \"b\".ogg")).error().code, ErrorCase::file);
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

}  // namespace
}  // namespace tovri
