#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/saving/QueueSnapshot.h"
#include "support/WholeText.h"

namespace tovri {

using test::wholeText;
using namespace std::chrono_literals;

namespace {

DownloadRecord fullRecord() {
    DownloadRecord item;
    item.id = *UUID::parse("00112233-4455-6677-8899-aabbccddeeff");
    item.fileID = FileID(9'007'199'254'740'993);  // more than a double holds
    item.fileName = "AC/DC \"Live\".mp3";
    item.fileSize = 1000;
    item.destinationFolder = std::make_shared<const std::filesystem::path>("/home/user/Down loads");
    item.securityScopeBookmark = std::make_shared<const ByteBlob>("\x01\xff?");
    item.deleteAfterDownload = true;
    item.folderDeleteID = FolderID(7);
    item.folderGroupID = UUID::parse("11111111-2222-4333-8444-555555555555");
    item.syncRuleID = UUID::parse("66666666-7777-4888-9999-AAAAAAAAAAAA");
    item.batchID = UUID::parse("BBBBBBBB-CCCC-4DDD-8EEE-FFFFFFFFFFFF");
    item.status = DownloadStatus::awaitingConflict;
    item.progress = 0.25;
    item.bytesDownloaded = 250;
    item.error = "no\nway";
    item.receivedFile = std::make_shared<const ByteBlob>("whole");
    item.resumeData = "token";
    item.startedAt = Timestamp(std::chrono::milliseconds(978'307'200'500));  // half a second after the epoch
    item.completedAt = Timestamp(std::chrono::seconds(978'307'199));
    item.resolvedURL = "/home/user/a%b";
    item.stagedURL = "/data/Tovri/Staging/X";
    return item;
}

constexpr std::string_view fullText = R"({
  "downloads": [
    {
      "batchID": "BBBBBBBB-CCCC-4DDD-8EEE-FFFFFFFFFFFF",
      "bytesDownloaded": 250,
      "completedAt": -1.0,
      "deleteAfterDownload": true,
      "destinationFolder": "file:\/\/\/home\/user\/Down%20loads\/",
      "error": "no\nway",
      "fileID": 9007199254740993,
      "fileName": "AC\/DC \"Live\".mp3",
      "fileSize": 1000,
      "folderDeleteID": 7,
      "folderGroupID": "11111111-2222-4333-8444-555555555555",
      "id": "00112233-4455-6677-8899-AABBCCDDEEFF",
      "progress": 0.25,
      "receivedFile": "d2hvbGU=",
      "resolvedURL": "file:\/\/\/home\/user\/a%25b",
      "resumeData": "dG9rZW4=",
      "securityScopeBookmark": "Af8\/",
      "stagedURL": "file:\/\/\/data\/Tovri\/Staging\/X",
      "startedAt": 0.5,
      "status": "awaitingConflict",
      "syncRuleID": "66666666-7777-4888-9999-AAAAAAAAAAAA"
    }
  ],
  "folderGroupExpectedCounts": {
    "11111111-2222-4333-8444-555555555555": 3
  },
  "isPaused": true,
  "version": 1
})";

std::string queueText(const QueueSnapshot& snapshot) {
    return wholeText([&](const FileManager::Sink& sink) { return encodeQueue(snapshot, sink); });
}

QueueSnapshot fullSnapshot() {
    QueueSnapshot snapshot;
    snapshot.isPaused = true;
    snapshot.downloads.push_back(fullRecord());
    snapshot.folderGroupExpectedCounts["11111111-2222-4333-8444-555555555555"] = 3;
    return snapshot;
}

TEST(QueueFile, hasEveryFieldInItsPlace) {
    EXPECT_EQ(queueText(fullSnapshot()), fullText);

    const auto decoded = decodeQueue(std::string(fullText));
    ASSERT_TRUE(decoded) << decoded.error().description;
    EXPECT_EQ(queueText(*decoded), fullText);
}

TEST(QueueFile, keepsWhatIsKnownOfTheContent) {
    QueueSnapshot snapshot = fullSnapshot();
    DownloadRecord& item = snapshot.downloads[0];
    item.crc32 = "BF4";  // as put.io wrote it
    item.arrivedChecksum = "00000bf4";
    item.listedSize = 0;
    item.hasStartedOver = true;
    item.formerCopy = std::make_shared<const DifferingCopy>(DifferingCopy{"/a/b (1)", 7, "00000001"});
    item.ruleRetry = std::make_shared<const RuleRetry>(RuleRetry{3, "HTTP error 400.", Timestamp(1'234'567'890s)});
    const auto decoded = decodeQueue(queueText(snapshot));
    ASSERT_TRUE(decoded) << decoded.error().description;
    EXPECT_EQ(decoded->downloads[0].crc32, "BF4");
    EXPECT_EQ(decoded->downloads[0].arrivedChecksum, "00000bf4");
    EXPECT_EQ(decoded->downloads[0].listedSize, 0);
    EXPECT_TRUE(decoded->downloads[0].hasStartedOver);
    ASSERT_TRUE(decoded->downloads[0].formerCopy);
    EXPECT_EQ(decoded->downloads[0].formerCopy->path, "/a/b (1)");
    ASSERT_TRUE(decoded->downloads[0].ruleRetry);
    EXPECT_EQ(*decoded->downloads[0].ruleRetry, *item.ruleRetry);
}

TEST(QueueFile, keepsTheLastFailedTries) {
    QueueSnapshot snapshot = fullSnapshot();
    DownloadRecord& item = snapshot.downloads[0];
    item.queuedAt = Timestamp(978'307'300s);
    item.noteFailedTry(Timestamp(978'307'200s), "HTTP error 503 from /\xFF.");
    const std::string text = queueText(snapshot);
    EXPECT_THAT(text, testing::HasSubstr(R"("failedTries": [
        {
          "at": 0.0,
          "what": "HTTP error 503 from \/?."
        }
      ],
      "fileID")"));
    EXPECT_THAT(text, testing::HasSubstr(R"("queuedAt": 100.0,)"));
    const auto decoded = decodeQueue(text);
    ASSERT_TRUE(decoded) << decoded.error().description;
    EXPECT_EQ(queueText(*decoded), text);

    const std::string one = R"({"at": 1, "what": "x"},)";
    std::string many = "[";
    for (int i = 0; i < 21; ++i) many += one;
    many.back() = ']';
    const auto written = [](const std::string& tries) {
        std::string queue(fullText);
        return queue.insert(queue.find(R"("fileID")"), R"("failedTries": )" + tries + ", ");
    };
    EXPECT_EQ(decodeQueue(written(many))->downloads[0].failedTries->size(), mostFailedTries);
    EXPECT_FALSE(decodeQueue(written("[]"))->downloads[0].failedTries);
    EXPECT_FALSE(decodeQueue(written(R"([{"at": 1}])")));
}

TEST(QueueFile, keepsNamesByteForByte) {
    for (const std::string& name : {std::string("\0\x01\x1f", 3), std::string("\xC3\xBC\xF0\x9F\x8E\xB5"),
                                    std::string("e\xCC\x81"), std::string(" .\\/\"\n"), std::string()}) {
        QueueSnapshot snapshot = fullSnapshot();
        snapshot.downloads[0].fileName = name;
        snapshot.downloads[0].resolvedURL = "/\xFF\xFE not UTF-8";
        snapshot.downloads[0].error = "Cannot use /\xFF.";  // must not spoil the file
        const auto decoded = decodeQueue(queueText(snapshot));
        ASSERT_TRUE(decoded) << decoded.error().description;
        EXPECT_EQ(decoded->downloads[0].fileName, name);
        EXPECT_EQ(decoded->downloads[0].resolvedURL, "/\xFF\xFE not UTF-8");
    }
}

std::string replaced(std::string_view what, std::string_view with) {
    std::string text(fullText);
    const auto at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), with);
}

TEST(QueueFile, holdsNothingThatItsReaderRefuses) {
    QueueSnapshot queue;
    DownloadRecord& item = queue.downloads.emplace_back();
    item.destinationFolder = std::make_shared<const std::filesystem::path>("relative/folder");
    item.resolvedURL = std::string("with\0nothing", 12);
    item.stagedURL = "";
    item.progress = std::numeric_limits<double>::quiet_NaN();
    const auto read = decodeQueue(wholeText([&](const FileManager::Sink& sink) { return encodeQueue(queue, sink); }));
    ASSERT_TRUE(read) << read.error().description;
    EXPECT_EQ(*read->downloads.front().destinationFolder, "/relative/folder");
    EXPECT_EQ(read->downloads.front().progress, 0);
}

TEST(QueueFile, isReadToleratingWhatCarriesNoMeaning) {
    const std::string cases[] = {
        replaced(R"(file:\/\/\/home\/user\/Down%20loads\/)", "file:///home/user/Down%20loads"),  // plain slashes
        replaced(R"("isPaused")", R"("newer": [{"a": null}], "isPaused")"),                      // unknown keys
        replaced(R"("status")", R"("newer": {}, "status")"),
        replaced(R"("no\nway")", "null"),                 // an absent value
        replaced(R"("fileName")", R"("file\u004Eame")"),  // another way to write a key
        replaced("AABBCCDDEEFF", "aabbccddeeff"),
        replaced("0.25", "2.5e-1"),
        replaced("\"version\": 1", "\r\n\t \"version\" : 0"),
        replaced("\"startedAt\": 0.5", "\"startedAt\": 7"),
    };
    for (const std::string& text : cases) EXPECT_TRUE(decodeQueue(text)) << text;
}

TEST(QueueFile, isRefusedWithAReason) {
    struct Case {
        std::string text;
        const char* reason;
    };

    const Case cases[] = {
        {"", "not JSON"},
        {"[]", "not JSON"},
        {std::string(fullText.substr(0, 900)), "not JSON"},  // cut off
        {std::string(fullText) + "x", ""},
        {replaced(R"("isPaused": true,)", ""), "isPaused"},
        {replaced(R"("fileName": "AC\/DC \"Live\".mp3",)", ""), "fileName"},
        {replaced("9007199254740993", "1.5"), "fileID"},
        {replaced("9007199254740993", "9223372036854775808"), "fileID"},
        {replaced("1000", "\"1000\""), "fileSize"},
        {replaced("awaitingConflict", "AwaitingConflict"), "status"},
        {replaced("00112233-", "00112233"), "id"},
        {replaced("66666666-7777-4888-9999-AAAAAAAAAAAA", "rule"), "syncRuleID"},
        {replaced("file:\\/\\/\\/home\\/user\\/Down", "http:\\/\\/host\\/"), "destinationFolder"},
        {replaced("file:\\/\\/\\/data", "data"), "stagedURL"},
        {replaced("dG9rZW4=", "dG9rZW4"), "resumeData"},
        {replaced("\"progress\": 0.25", "\"progress\": null"), "progress"},
        {replaced(R"("deleteAfterDownload": true)", R"("deleteAfterDownload": 1)"), "deleteAfterDownload"},
        {replaced(": 3", ": \"3\""), "11111111"},
        {replaced("\"downloads\": [", "\"downloads\": [7, "), "an item"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto decoded = decodeQueue(c.text);
        ASSERT_FALSE(decoded);
        EXPECT_THAT(decoded.error().description, testing::HasSubstr(c.reason));
    }
}

}  // namespace
}  // namespace tovri
