#include <gtest/gtest.h>

#include "service/PutIOAPI.h"
#include "service/records/JSONCoding.h"
#include "service/records/PutIOAccount.h"
#include "service/records/PutIOFileList.h"
#include "service/records/RSSFeed.h"
#include "service/records/Transfer.h"

namespace tovri {
namespace {

TEST(Records, readEveryKeyThatTheServiceSends) {
    const char* const listing =
        R"({"files":[{"id":9007199254740993,"name":"a\u0000\"é","size":5,"content_type":"text/plain",
        "parent_id":0,"created_at":"c","updated_at":"u","file_type":"Video","icon":"i","screenshot":"s",
        "opensubtitles_hash":"o","crc32":"0a0b0c0d","is_shared":[{"x":null}]}],
        "parent":{"id":0,"name":"Your Files","file_type":"FOLDER","size":null},"cursor":"next","status":"OK"})";
    const Result<PutIOFileList> list = decodeJSON<PutIOFileList>(listing);
    ASSERT_TRUE(list) << list.error().description;
    const PutIOFile file{FileID(9007199254740993),
                         std::string("a\0\"\xC3\xA9", 5),
                         5,
                         "text/plain",
                         rootFolderID,
                         "c",
                         "u",
                         PutIOFile::FileType::video,
                         "i",
                         "s",
                         "o",
                         "0a0b0c0d"};
    ASSERT_EQ(list->files.size(), 1U);
    EXPECT_EQ(list->files.front(), file);
    EXPECT_EQ(list->parent->name, "Your Files");
    EXPECT_EQ(list->parent->size, std::nullopt);
    EXPECT_EQ(list->cursor, "next");

    const std::hash<PutIOFile> hash;
    PutIOFile other = file;
    EXPECT_EQ(hash(other), hash(file));
    other.crc32.reset();
    EXPECT_NE(hash(other), hash(file));
}

// What is written has the service's keys and is read back as it was.
template <class Record>
void expectRoundTrip(const char* json) {
    SCOPED_TRACE(json);
    const Result<Record> record = decodeJSON<Record>(json);
    ASSERT_TRUE(record) << record.error().description;
    EXPECT_EQ(encodeJSON(*record), json);
}

TEST(Records, writeTheKeysThatTheyRead) {
    expectRoundTrip<PutIOFile>(R"({"id":1,"name":"n","file_type":"ARCHIVE"})");
    expectRoundTrip<PutIOAccount>(R"({"username":"u","mail":"m","avatar_url":"a","disk":{"used":1,"size":2}})");
    expectRoundTrip<TransferListResponse>(
        R"({"transfers":[{"id":1,"name":"n","size":2,"status":"s","status_message":"sm","error_message":"em",)"
        R"("type":"TORRENT","source":"magnet:","percent_done":3,"downloaded":4,"uploaded":5,"down_speed":6,)"
        R"("up_speed":7,"estimated_time":8,"peers_connected":9,"peers_sending_to_us":10,"peers_getting_from_us":11,)"
        R"("availability":12,"file_id":13,"save_parent_id":14,"extract":true,"current_ratio":0.5,"created_at":"c",)"
        R"("finished_at":"f"}],"status":"OK"})");
    expectRoundTrip<TransferAddResponse>(R"({"transfer":{"id":1},"status":"OK"})");
    expectRoundTrip<RSSFeedResponse>(
        R"({"feed":{"id":1,"title":"t","rss_source_url":"r","keyword":"k","parent_dir_id":2,"paused":false,)"
        R"("dont_process_whole_feed":true,"delete_old_files":false,"last_fetch":"l","extract":true},"status":"OK"})");
    expectRoundTrip<RSSFeedListResponse>(R"({"status":"OK"})");
}

TEST(Records, sayWhichKeyIsNotAsItShouldBe) {
    struct Case {
        const char* json;
        const char* problem;
    };

    const Case cases[] = {
        {R"({"files":[{"id":1,"name":"a"},{"id":2}],"status":""})",
         R"("files[1].name" should be a string but is missing)"},
        {R"({"files":[{"id":1,"name":null}],"status":""})", R"("files[0].name" should be a string but is null)"},
        {R"({"files":[{"id":"1","name":""}],"status":""})",
         R"("files[0].id" should be a 64-bit integer but is a string)"},
        {R"({"files":[{"id":1,"name":"","file_type":3}],"status":""})",
         R"("files[0].file_type" should be a string but is a number)"},
        {R"({"files":[{"id":1,"name":"","size":1.5}],"status":""})",
         R"("files[0].size" should be a 64-bit integer but is a fractional number)"},
        {R"({"files":[{"id":9223372036854775808,"name":""}],"status":""})",
         R"("files[0].id" should be a 64-bit integer but is a larger number)"},
        {R"({"files":[7],"status":""})", R"("files[0]" should be an object but is a number)"},
        {R"({"files":{},"status":""})", R"("files" should be an array but is an object)"},
        {R"({"files":[],"parent":{"id":1},"status":""})", R"("parent.name" should be a string but is missing)"},
        {R"({"files":[]})", R"("status" should be a string but is missing)"},
        {"[]", "it should be an object but is an array"},
        {"", "it is empty"},
        {"<html>", "it is not JSON"},
        {R"({"files":[],"status":"OK"} x)", "it is not JSON"},
        {R"({"files":[],"status":"OK","other":nonsense})", "it is not JSON"},  // also where nobody looks
        {"{\"files\":[],\"status\":\"\xFF\"}", "it is not UTF-8"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.json);
        const Result<PutIOFileList> list = decodeJSON<PutIOFileList>(c.json);
        ASSERT_FALSE(list);
        EXPECT_EQ(list.error().code, ErrorCase::decoding);
        EXPECT_EQ(list.error().description, "Unexpected answer from put.io: " + std::string(c.problem) + ".");
    }
}

TEST(Records, readNumbersAsAStrictDecoderDoes) {
    struct Case {
        const char* size = nullptr;
        std::optional<ByteCount> expected;  // none: the decode fails
    };

    const Case cases[] = {
        {"3.0", 3},
        {"1e3", 1000},
        {"-9223372036854775808", std::numeric_limits<ByteCount>::min()},
        {"9007199254740993.0", std::nullopt},  // rounded by the reader to ...992
        {"1e300", std::nullopt},
        {"true", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.size);
        const auto file = decodeJSON<PutIOFile>(std::string(R"({"id":1,"name":"","size":)").append(c.size).append("}"));
        EXPECT_EQ(file.has_value(), c.expected.has_value());
        if (file) EXPECT_EQ(file->size, c.expected);
    }
    EXPECT_EQ(decodeJSON<Transfer>(R"({"id":1,"current_ratio":2})")->currentRatio, 2.0);
    EXPECT_EQ(decodeJSON<PutIOFile>(R"({"id":1,"id":2,"name":""})")->id, FileID(2));  // the last of a repeated key
}

TEST(Records, areReadWhateverStandsUnderKeysThatNobodyKnows) {
    const std::string deep = std::string(2000, '[') + std::string(2000, ']');
    for (const std::string& value : std::initializer_list<std::string>{
             "99999999999999999999", "-99999999999999999999", "1e999", std::string(400, '9'), R"("\ud800")",
             R"("\udc00\ud800x\\ud800")", R"({"\udfff":[1e-999,{"x":-1e999}]})", deep}) {
        SCOPED_TRACE(value.substr(0, 40));
        const auto file = decodeJSON<PutIOFile>(R"({"id":1,"other":)" + value + R"(,"name":"a\ud83d\ude00\udead"})");
        ASSERT_TRUE(file) << file.error().description;
        EXPECT_EQ(file->name, "a\xF0\x9F\x98\x80\xEF\xBF\xBD");
        EXPECT_FALSE(decodeJSON<PutIOFile>(R"({"name":"","id":)" + value + "}"));
        EXPECT_FALSE(decodeJSON<PutIOFileList>(R"({"status":"OK","files":[{"id":)" + value + R"(,"name":""}]})"));
    }
    EXPECT_FALSE(decodeJSON<PutIOFileList>(R"({"status":"OK","files":1e999})"));
    EXPECT_FALSE(decodeJSON<Transfer>(R"({"id":1,"current_ratio":1e999})"));
}

TEST(Records, nameIconAndSizeAsTheScreensShowThem) {
    struct Case {
        const char* fields;
        const char* icon;
        const char* size;
    };

    const Case cases[] = {
        {"", "doc", "0 bytes"},
        {R"(,"file_type":"folder","size":0)", "folder.fill", "Empty"},
        {R"(,"file_type":"FOLDER","size":4096,"content_type":"video/x")", "folder.fill", "4 KB"},
        {R"(,"file_type":"EBOOK","size":-1)", "doc", "0 bytes"},
        {R"(,"content_type":"Video/MP4","size":1200000)", "film", "1.2 MB"},
        {R"(,"content_type":"audio/zip")", "music.note", "0 bytes"},  // the first rule that matches
        {R"(,"content_type":"image/png")", "photo", "0 bytes"},
        {R"(,"content_type":"application/x-tar")", "doc.zipper", "0 bytes"},
        {R"(,"content_type":"application/PDF")", "doc.richtext", "0 bytes"},
        {R"(,"content_type":"text/plain")", "doc.text", "0 bytes"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fields);
        const auto file = decodeJSON<PutIOFile>(std::string(R"({"id":1,"name":"n")").append(c.fields).append("}"));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->iconName(), c.icon);
        EXPECT_EQ(file->displaySize(), c.size);
    }
}

TEST(Records, knowWhichTransfersAreActive) {
    for (const char* status : {"DOWNLOADING", "in_queue", "Waiting", "COMPLETING"}) {
        Transfer transfer;
        transfer.status = status;
        EXPECT_TRUE(transfer.isActive()) << status;
    }
    for (const char* status : {"SEEDING", "COMPLETED", "ERROR", "", "WAITING "}) {
        Transfer transfer;
        transfer.status = status;
        EXPECT_FALSE(transfer.isActive()) << status;
    }
    EXPECT_FALSE(Transfer().isActive());
}

}  // namespace
}  // namespace tovri
