#include "service/PutIOAPI.h"
#include "service/ServiceFixture.h"

namespace tovri {
namespace {

using TransferOperationsTest = test::ServiceFixture;

TEST_F(TransferOperationsTest, listTheTransfersInTheServicesOrder) {
    answerWith(200, R"({"transfers":[{"id":9,"status":"SEEDING"},{"id":4}],"status":"OK"})");
    const Result<std::vector<Transfer>> listed = run(api.listTransfers(never()));
    ASSERT_TRUE(listed);
    ASSERT_EQ(listed->size(), 2U);
    EXPECT_EQ(listed->front().id, TransferID(9));
    EXPECT_EQ(lastRequest(), "GET /transfers/list ");
}

TEST_F(TransferOperationsTest, sendOnlyWhatIsAskedFor) {
    answerWith(200, R"({"transfer":{"id":8,"name":"n"},"status":"OK"})");
    const Result<Transfer> added = run(api.addTransfer("magnet:?xt=urn:btih:0&dn=a+b", rootFolderID, false, never()));
    ASSERT_TRUE(added);
    EXPECT_EQ(added->id, TransferID(8));
    EXPECT_EQ(lastRequest(), "POST /transfers/add url=magnet:?xt%3Durn:btih:0%26dn%3Da%2Bb");
    ASSERT_TRUE(run(api.addTransfer("https://a/b", FolderID(123), true, never())));
    EXPECT_EQ(lastRequest(), "POST /transfers/add extract=true&save_parent_id=123&url=https://a/b");
    ASSERT_TRUE(run(api.retryTransfer(TransferID(5), never())));
    EXPECT_EQ(lastRequest(), "POST /transfers/retry id=5");

    answerWith(200, R"({"status":"OK"})");
    EXPECT_TRUE(run(api.cancelTransfers({TransferID(7), TransferID(9)}, never())));
    EXPECT_EQ(lastRequest(), "POST /transfers/cancel transfer_ids=7,9");
    EXPECT_TRUE(run(api.cleanTransfers(never())));
    EXPECT_EQ(lastRequest(), "POST /transfers/clean ");
    EXPECT_EQ(http.requests.size(), 5U);
}

TEST_F(TransferOperationsTest, failOnceAndAsTheServiceDoes) {
    answerWith(404, R"({"status":"ERROR"})");
    EXPECT_EQ(run(api.retryTransfer(TransferID(5), never())).error().description, "HTTP error 404 from put.io.");
    EXPECT_EQ(run(api.cancelTransfers({TransferID(5)}, never())).error().description, "HTTP error 404 from put.io.");
    answerWith(200, R"({"status":"OK"})");
    EXPECT_EQ(run(api.addTransfer("https://a/b", rootFolderID, false, never())).error().code, ErrorCase::decoding);
    EXPECT_EQ(run(api.listTransfers(never())).error().code, ErrorCase::decoding);
    EXPECT_EQ(http.requests.size(), 4U);
}

}  // namespace
}  // namespace tovri
