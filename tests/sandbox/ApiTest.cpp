#include <chrono>
#include <set>
#include <string>
#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <simdjson.h>

#include "SandboxTest.h"
#include "sandbox/account/AccountFile.h"
#include "support/TemporaryFolder.h"

namespace tovri::sandbox {
namespace {

using namespace std::string_literals;

class Json {
public:
    explicit Json(const httplib::Result& result) : root_(parser_->parse(result ? result->body : "null"s)) {}

    simdjson::simdjson_result<simdjson::dom::element> operator[](std::string_view key) const { return root_[key]; }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto file : root_["files"]) names.emplace_back(file["name"].get_string().value());
        return names;
    }

    bool hasCursor() const { return !root_["cursor"].is_null(); }

    std::string text(std::string_view key) const { return std::string(root_[key].get_string().value()); }

private:
    // What is read points into its parser, wherever this value moves.
    std::unique_ptr<simdjson::dom::parser> parser_ = std::make_unique<simdjson::dom::parser>();
    simdjson::dom::element root_;
};

class ApiTest : public SandboxTest {
protected:
    ApiTest() : SandboxTest({.pageSize = 3, .uploadMemory = 100'000}) {}
};

TEST_F(ApiTest, wantsTheTokenOnApiAndUploadOnly) {
    httplib::Client stranger(sandbox_.apiURL());
    EXPECT_EQ(stranger.Get("/v2/files/list")->status, 401);
    stranger.set_bearer_token_auth("wrong");
    EXPECT_EQ(stranger.Post("/v2/files/delete", httplib::Params{{"file_ids", "1"}})->status, 401);
    const httplib::MultipartFormDataItems upload = {{"file", "x", "x.txt", ""}};
    EXPECT_EQ(stranger.Post("/v2/files/upload", upload)->status, 401);
    EXPECT_EQ(account().childCount(rootID), 0U);
    EXPECT_EQ(stranger.Get("/sandbox/stats")->status, 200);
    const auto page = stranger.Get("/v2/oauth2/authenticate?client_id=5&response_type=token&redirect_uri=a%3A%2F%2Fb");
    EXPECT_EQ(page->get_header_value("Location"), "a://b#access_token=sandbox-token");
    EXPECT_EQ(get("/files/list")->status, 200);
}

TEST_F(ApiTest, tellsAFilesRecordAsItsListingDoes) {
    const FileID file = account().addFile(rootID, {.name = "film", .size = 9});
    const std::string path = "/files/" + std::to_string(file);
    const std::string listed = get("/files/list")->body;
    const std::string record = get(path)->body;
    const std::string inner = record.substr(record.find(":{") + 1, record.rfind('}', record.size() - 2) - 7);
    EXPECT_NE(listed.find(inner), std::string::npos) << listed << "\n" << inner;
    EXPECT_NE(inner.find("\"crc32\":\""), std::string::npos);
    EXPECT_EQ(get("/files/77")->status, 404);
    addFault("api:/v2/files/*:listed-size=153,times=1");
    EXPECT_NE(get(path)->body.find("\"size\":153,"), std::string::npos);
}

TEST_F(ApiTest, listsInPagesThatTheCursorContinues) {
    for (int number = 0; number < 7; ++number) account().addFile(rootID, {.name = std::to_string(number)});
    std::vector<std::string> names;
    Json page(get("/files/list?parent_id=0"));
    for (int pages = 1;; ++pages) {
        std::ranges::copy(page.names(), std::back_inserter(names));
        if (!page.hasCursor()) break;
        ASSERT_LT(pages, 3);
        page = Json(post("/files/list/continue", {{"cursor", page.text("cursor")}}));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"0", "1", "2", "3", "4", "5", "6"}));
    EXPECT_EQ(get("/files/list?parent_id=77")->status, 404);
    EXPECT_EQ(get("/files/77")->status, 404);
    EXPECT_NE(get("/files/1")->body.find(R"("file":{"id":1,"name":"0")"), std::string::npos);
    EXPECT_EQ(post("/files/list/continue", {{"cursor", "nonsense"}})->status, 400);

    addFault("api:/v2/files/list*:stale-cursor,after=1,times=1");
    page = Json(post("/files/list/continue", {{"cursor", Json(get("/files/list?parent_id=0")).text("cursor")}}));
    EXPECT_EQ(page.names().size(), 3U);
    EXPECT_EQ(post("/files/list/continue", {{"cursor", page.text("cursor")}})->status, 400);
}

TEST_F(ApiTest, keepsEveryNameAsItIs) {
    const std::vector<std::string> hostile = {"..",        "a/b",        "",  "nul\0!"s, "quote\"\n",
                                              "caf\u00e9", "cafe\u0301", "x", "x"};
    const auto read = readAccountFile(
        R"({"files": {"F": {"..": 1, "a/b": "1KiB", "": 0, "nul\u0000!": 1, "quote\"\n": ["text", "hi"],
                            "caf\u00e9": 2, "cafe\u0301": 2, "x": 1, "x": 1}}})",
        sandbox_.scene());
    ASSERT_TRUE(read) << read.error();
    std::vector<std::string> listed = Json(get("/files/list?parent_id=1&per_page=3")).names();
    for (const char* cursor : {"1-3", "1-6"}) {
        std::ranges::copy(Json(post("/files/list/continue", {{"cursor", cursor}})).names(), std::back_inserter(listed));
    }
    EXPECT_EQ(listed, hostile);
    EXPECT_EQ(download(6)->body, "hi");
    for (const char* wrong : {"", "[]", R"({"files": {"x": true}})", R"({"files": {"x": "5Q"}})", R"({"file": {}})",
                              R"({"faults": ["api:x"]})", R"({"feeds": [{"folder": "/none"}]})"}) {
        EXPECT_FALSE(readAccountFile(wrong, sandbox_.scene())) << wrong;
    }
}

TEST_F(ApiTest, deletesFoldersWithEverythingBelowThem) {
    const FileID folder = account().addFolder(rootID, "Folder");
    const FileID below = account().addFolder(account().addFolder(folder, "Deep"), "Deeper");
    const FileID file = account().addFile(below, {.name = "file", .size = 100});
    const FileID kept = account().addFile(rootID, {.name = "kept", .size = 5});
    EXPECT_EQ(account().find(folder)->size, 100);
    EXPECT_EQ(account().used(), 105);
    const std::string link = Json(get(fmt::format("/files/{}/url", file))).text("url");

    // As many IDs as a large selection has.
    std::string ids = std::to_string(folder);
    for (int missing = 0; missing < 3000; ++missing) ids += fmt::format(",{}", 1'000'000 + missing);
    EXPECT_EQ(post("/files/delete", {{"file_ids", ids}})->status, 200);
    EXPECT_FALSE(account().find(file));
    EXPECT_EQ(account().used(), 5);
    EXPECT_EQ(storage_->Get(link.substr(sandbox_.storageURL().size()))->status, 404);
    EXPECT_EQ(sandbox_.log().requests().at(1).form.at("file_ids"), ids);
    EXPECT_TRUE(account().find(kept));
    EXPECT_EQ(post("/files/delete", {{"file_ids", "0"}})->status, 404);  // the root stays
    EXPECT_EQ(post("/files/delete", {{"file_ids", ""}})->status, 400);
}

TEST_F(ApiTest, movesWhatCanBeMovedAndTellsTheRest) {
    const FileID outer = account().addFolder(rootID, "Outer");
    const FileID inner = account().addFolder(outer, "Inner");
    const FileID file = account().addFile(rootID, {.name = "file", .size = 9});
    const Json answer(post("/files/move",
                           {{"file_ids", fmt::format("{},{},77", outer, file)}, {"parent_id", std::to_string(inner)}}));
    EXPECT_EQ(answer["errors"].at(0)["id"].get_int64().value(), outer);  // a folder cannot go into itself
    EXPECT_EQ(answer["errors"].at(1)["status_code"].get_int64().value(), 404);
    EXPECT_EQ(account().namesTo(file), (std::vector<std::string>{"Outer", "Inner", "file"}));
    EXPECT_EQ(account().find(outer)->size, 9);
}

TEST_F(ApiTest, givesBackWhatWasUploadedAndKnowsWhatItDidNotKeep) {
    const std::string name = "\"quoted\" caf\u00e9.txt";
    std::string content = "first line\r\n--boundary\r\n\r\n";
    content += std::string("\0\xff\r\n", 4);
    const auto upload = [&](const std::string& fileName, const std::string& bytes) {
        return api_->Post("/v2/files/upload", httplib::MultipartFormDataItems{{"parent_id", "0", "", ""},
                                                                              {"file", bytes, fileName, "x/y"}});
    };
    const Json answer(upload(name, content));
    EXPECT_EQ(answer["file"]["name"].get_string().value(), name);
    EXPECT_EQ(download(answer["file"]["id"].get_int64().value())->body, content);

    const std::string large(200'000, 'x');
    const Json notKept(upload("large.bin", large));
    const FileID id = notKept["file"]["id"].get_int64().value();
    EXPECT_EQ(account().find(id)->size, 200'000);
    EXPECT_EQ(account().crc32(id), Content::stored(std::make_shared<const std::string>(large)).crc32());
    EXPECT_EQ(download(id)->status, 410);
    EXPECT_EQ(sandbox_.log().requests().at(2).bytesReceived, 200'000U);

    EXPECT_GT(Json(upload("film.torrent", "d4:infoe"))["transfer"]["id"].get_int64().value(), 0);
}

TEST_F(ApiTest, forcesAnswersPerCallAndPerFile) {
    const FileID file = account().addFile(rootID, {.name = "film.mkv", .size = 9});
    const std::string linkPath = fmt::format("/files/{}/url", file);
    addFault("api:/v2/files/list?parent_id=0:status=200,body=html,times=1");
    addFault("api:/v2/files/list:status=429,retry-after=7,rate-limit-reset=9,times=1");
    addFault("api:/v2/files/list:status=503,body=empty,times=1");
    addFault("link:*.mkv:link=not a link,times=1");
    addFault("link:#1:status=401,times=1");
    const auto html = get("/files/list?parent_id=0");
    EXPECT_EQ(html->status, 200);
    EXPECT_EQ(html->body.find("<!DOCTYPE"), 0U);
    const auto limited = get("/files/list?parent_id=0");
    EXPECT_EQ(limited->status, 429);
    EXPECT_EQ(limited->get_header_value("Retry-After"), "7");
    EXPECT_EQ(limited->get_header_value("X-RateLimit-Reset"), "9");
    EXPECT_EQ(get("/files/list")->body, "");
    EXPECT_EQ(get("/files/list")->status, 200);
    EXPECT_EQ(Json(get(linkPath)).text("url"), "not a link");
    EXPECT_EQ(get(linkPath)->status, 401);
    EXPECT_EQ(get(linkPath)->status, 200);

    const std::string line = "upload:x.txt:drop,times=1\n";
    EXPECT_EQ(api_->Post("/sandbox/faults", line, "text/plain")->status, 200);
    EXPECT_EQ(api_->Post("/sandbox/faults", R"([{"on": "api", "match": "*", "cut": true}])", "text/plain")->status,
              400);
    const httplib::MultipartFormDataItems upload = {{"file", "x", "x.txt", ""}};
    EXPECT_FALSE(api_->Post("/v2/files/upload", upload));
    EXPECT_EQ(api_->Post("/v2/files/upload", upload)->status, 200);
}

TEST_F(ApiTest, keepsFeedsAsTheyWereCreatedAndChanged) {
    const Json created(post(
        "/rss/create",
        {{"title", "News"}, {"rss_source_url", "https://a/b"}, {"parent_dir_id", "0"}, {"delete_old_files", "true"}}));
    EXPECT_TRUE(created["feed"]["delete_old_files"].get_bool().value());
    EXPECT_EQ(post("/rss/update", {{"id", "1"}, {"keyword", "x"}, {"delete_old_files", "false"}})->status, 200);
    EXPECT_EQ(post("/rss/pause", {{"id", "1"}})->status, 200);
    const Json list(get("/rss/list"));
    const auto feed = list["feeds"].at(0);
    EXPECT_EQ(feed["title"].get_string().value(), "News");
    EXPECT_EQ(feed["keyword"].get_string().value(), "x");
    EXPECT_FALSE(feed["delete_old_files"].get_bool().value());
    EXPECT_TRUE(feed["paused"].get_bool().value());
    EXPECT_EQ(post("/rss/delete", {{"id", "1"}})->status, 200);
    EXPECT_EQ(post("/rss/resume", {{"id", "1"}})->status, 404);
}

TEST_F(ApiTest, changesFilesWhileSomebodyWatches) {
    const auto change = [&](const std::string& action, const httplib::Params& fields) {
        return api_->Post("/sandbox/files/" + action, fields);
    };
    const auto idIn = [](const httplib::Result& result) { return Json(result)["id"].get_int64().value(); };
    const FileID file = idIn(change("add", {{"path", "/Films/New/a+b.txt"}, {"text", "first"}}));
    EXPECT_EQ(idIn(change("add", {{"path", "Films/New/"}})), account().findPath("/Films/New")->id);
    EXPECT_EQ(account().namesTo(file), (std::vector<std::string>{"Films", "New", "a+b.txt"}));
    EXPECT_EQ(download(file)->body, "first");

    EXPECT_EQ(idIn(change("rename", {{"path", "/Films/New/a+b.txt"}, {"name", "c/d"}})), file);
    const FileID second = idIn(change("replace", {{"id", std::to_string(file)}}));
    EXPECT_NE(second, file);
    EXPECT_FALSE(account().find(file));
    EXPECT_EQ(account().find(second)->name, "c/d");
    EXPECT_EQ(account().used(), 5);
    EXPECT_NE(download(second)->body, "first");

    EXPECT_EQ(idIn(change("move", {{"id", std::to_string(second)}, {"to", "/Music"}})), second);
    EXPECT_EQ(account().namesTo(second), (std::vector<std::string>{"Music", "c/d"}));
    EXPECT_EQ(change("move", {{"path", "/Films"}, {"to", "/Films/New"}})->status, 400);
    EXPECT_EQ(change("remove", {{"path", "/Films"}})->status, 200);
    EXPECT_FALSE(account().findPath("/Films"));
    EXPECT_EQ(change("remove", {{"path", "/Films"}})->status, 404);
    EXPECT_EQ(change("remove", {{"path", "/"}})->status, 404);
    EXPECT_EQ(change("replace", {{"path", "/Music"}})->status, 400);
    EXPECT_EQ(change("add", {{"path", "/x"}, {"size", "5Q"}})->status, 400);
    EXPECT_EQ(change("explode", {{"path", "/Music"}})->status, 404);
    EXPECT_EQ(sandbox_.log().requests().size(), 2U) << "only the downloads are logged";
}

TEST(SandboxTls, isTrustedWithItsCertificateOnly) {
    Sandbox sandbox({.tls = true});
    sandbox.start();
    const test::TemporaryFolder folder;
    const std::string path = folder.path / "certificate.pem";
    std::ofstream(path) << sandbox.certificatePem();
    httplib::Client trusting(sandbox.apiURL());
    trusting.set_ca_cert_path(path);
    EXPECT_TRUE(trusting.Get("/sandbox/stats"));
    httplib::Client stranger(sandbox.apiURL());
    EXPECT_EQ(stranger.Get("/sandbox/stats").error(), httplib::Error::SSLServerVerification);
}

// A test that ends in the middle of a stalled or idle connection must not wait for it.
TEST(Sandbox, stopsAtOnceWhateverItsConnectionsDoAndStartsAgain) {
    Sandbox sandbox;
    sandbox.start();
    sandbox.account().addFile(rootID, {.name = "film", .size = 1000});
    sandbox.faults().add(parseFault("storage:film:stall=10").value());
    httplib::Client idle(sandbox.apiURL());
    idle.set_keep_alive(true);
    idle.Get("/sandbox/stats");
    std::jthread stalled([url = sandbox.storageURL()] { httplib::Client(url).Get("/download/1"); });
    ASSERT_TRUE(comesTrue([&] { return sandbox.log().statistics().transfersInFlight > 0; }));
    const auto start = std::chrono::steady_clock::now();
    sandbox.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));  // an idle connection is kept for 30

    sandbox.start();  // on the ports that clients know
    EXPECT_TRUE(idle.Get("/sandbox/stats"));
}

}  // namespace
}  // namespace tovri::sandbox
