#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox/http/MultipartParser.h"

namespace tovri::sandbox {
namespace {

struct Parsed {
    std::vector<std::string> parts;  // "name/file name=content"
    bool isComplete = false;
};

Parsed parseInPieces(std::string_view body, std::size_t pieceSize) {
    Parsed parsed;
    MultipartParser parser(
        "B",
        [&](const BodyPart& part) {
            parsed.parts.push_back(part.name + "/" + part.fileName + "=");
            return true;
        },
        [&](std::string_view data) {
            parsed.parts.back() += data;
            return true;
        });
    for (std::size_t at = 0; at < body.size(); at += pieceSize) {
        if (!parser.feed(body.substr(at, pieceSize))) return parsed;
    }
    parsed.isComplete = parser.isComplete();
    return parsed;
}

TEST(MultipartParser, findsTheSamePartsHoweverTheBodyIsCut) {
    const std::string body =
        "ignored\r\n--B\r\nContent-Disposition: form-data; name=\"parent_id\"\r\n\r\n17\r\n"
        "--B\r\nContent-Disposition: form-data; name=\"file\"; filename=\"say \"hi\"; name=\"x\".txt\"\r\n"
        "Content-Type: text/plain\r\n\r\n\r\n\r\n-\r\n--A\r\n--\n\r\n\r\n--B--\r\nignored";
    const std::vector<std::string> expected = {"parent_id/=17",
                                               "file/say \"hi\"; name=\"x\".txt=\r\n\r\n-\r\n--A\r\n--\n\r\n"};
    for (std::size_t pieceSize = 1; pieceSize <= body.size(); ++pieceSize) {
        const Parsed parsed = parseInPieces(body, pieceSize);
        ASSERT_TRUE(parsed.isComplete) << pieceSize;
        ASSERT_EQ(parsed.parts, expected) << pieceSize;
    }
}

TEST(MultipartParser, takesNoBrokenOffBodyForAWholeOne) {
    const std::string head = "--B\r\nContent-Disposition: form-data; name=\"file\"; filename=\"\"\r\n\r\n";
    EXPECT_TRUE(parseInPieces(head + "\r\n--B--", 7).isComplete);  // an empty file
    EXPECT_FALSE(parseInPieces(head + "content\r\n--B-", 7).isComplete);
    EXPECT_FALSE(parseInPieces(head + "content\r\n--Bx\r\n--B--", 7).isComplete);
    EXPECT_FALSE(parseInPieces("", 7).isComplete);
    EXPECT_EQ(MultipartParser::boundaryOf("multipart/form-data; boundary=5C-9"), "5C-9");
    EXPECT_EQ(MultipartParser::boundaryOf("multipart/form-data; boundary=\"a b\"; x=y"), "a b");
    EXPECT_EQ(MultipartParser::boundaryOf("application/x-www-form-urlencoded; boundary=x"), "");
}

}  // namespace
}  // namespace tovri::sandbox
