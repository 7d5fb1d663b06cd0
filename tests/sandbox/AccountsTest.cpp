#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox/Sandbox.h"
#include "sandbox/account/Account.h"
#include "sandbox/account/TreeWriter.h"
#include "sandbox/account/generated/DemoAccount.h"
#include "sandbox/account/generated/GeneratedAccount.h"
#include "sandbox/account/generated/LivingFolders.h"
#include "support/TemporaryFolder.h"

namespace tovri::sandbox {
namespace {

namespace fs = std::filesystem;

std::vector<File> filesBelow(const Account& account, FileID folder) {
    std::vector<File> files;
    for (const File& file : account.children(folder)) {
        if (!file.isFolder) {
            files.push_back(file);
        } else {
            std::ranges::copy(filesBelow(account, file.id), std::back_inserter(files));
        }
    }
    return files;
}

TEST(GeneratedAccount, isTheSameForTheSameSeed) {
    const auto fingerprint = [](std::uint64_t seed) {
        Account account;
        generateAccount(account, {.seed = seed, .files = 60, .maxSize = 5000, .hasAwkwardNames = true});
        std::vector<std::string> lines;
        for (const File& file : filesBelow(account, rootID)) {
            lines.push_back(file.name + " " + std::to_string(file.content().crc32()));
        }
        return lines;
    };
    EXPECT_EQ(fingerprint(3), fingerprint(3));
    EXPECT_NE(fingerprint(3), fingerprint(4));
}

TEST(GeneratedAccount, hasTheFilesAndSizesThatWereAskedFor) {
    Account account;
    generateAccount(account, {.files = 500, .minSize = 10, .maxSize = 3ULL << 30});
    const std::vector<File> files = filesBelow(account, rootID);
    EXPECT_EQ(files.size(), 500U);
    const auto [smallest, largest] = std::ranges::minmax_element(files, {}, &File::size);
    EXPECT_EQ(smallest->size, 10);
    EXPECT_EQ(largest->size, 3LL << 30);

    Account flat;
    generateAccount(flat, {.files = 20, .folders = 0});
    EXPECT_EQ(flat.childCount(1), 20U);
}

// Nothing that is generated may be lost on a disk: no name twice in a folder, none that a file system refuses.
TEST(TreeWriter, writesEveryGeneratedFileByteForByte) {
    Account account;
    generateAccount(account, {.seed = 5, .files = 150, .maxSize = 100'000, .hasAwkwardNames = true});
    const test::TemporaryFolder temporary;
    const fs::path& folder = temporary.path;
    const WrittenTree written = writeTree(account, folder);
    EXPECT_EQ(written.files, 150U);
    EXPECT_TRUE(written.skipped.empty());
    for (const File& file : filesBelow(account, rootID)) {
        fs::path path = folder;
        for (const std::string& name : account.namesTo(file.id)) path /= name;
        std::ifstream stream(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
        EXPECT_EQ(Content::stored(std::make_shared<const std::string>(bytes)).crc32(), file.content().crc32()) << path;
    }
}

TEST(TreeWriter, neverLeavesItsFolder) {
    Account account;
    for (const std::string& name : {std::string(".."), std::string("../out"), std::string("/out"), std::string(),
                                    std::string("a\0b", 3), std::string(256, 'x')}) {
        account.addFile(rootID, {.name = name, .size = 1});
    }
    account.addFile(account.addFolder(rootID, ".."), {.name = "out", .size = 1});
    account.addFile(rootID, {.name = "good", .size = 1});
    account.addFile(rootID, {.name = "good", .size = 2});
    const test::TemporaryFolder temporary;
    const fs::path folder = temporary.path / "tree";
    const WrittenTree written = writeTree(account, folder);
    EXPECT_EQ(written.skipped.size(), 8U);
    EXPECT_EQ(written.files, 1U);
    EXPECT_EQ(fs::file_size(folder / "good"), 1U);
    EXPECT_EQ(std::distance(fs::directory_iterator(temporary.path), {}), 1);
}

TEST(DemoAccount, isASmallLibraryWithTransfersInEveryState) {
    Sandbox sandbox;
    addDemoAccount(sandbox.scene());
    EXPECT_NEAR(static_cast<double>(sandbox.account().used()), 300e6, 60e6);
    std::set<std::string> states;
    for (const Transfer& transfer : sandbox.transfers().list()) {
        states.insert(sandbox.transfers().progress(transfer).status);
    }
    EXPECT_EQ(states.size(), 9U);
}

TEST(Transfers, liveThroughTheirStatesAndLeaveAFile) {
    Account account;
    double now = 0;
    Transfers transfers(account, [&now] { return now; });
    const Transfer transfer = transfers.add({.source = "magnet:?xt=urn:btih:0&dn=A%20Film", .size = 120'000'000});
    std::vector<std::string> states;
    std::int64_t downloaded = 0;
    for (; now < 60; now += 0.5) {
        transfers.advance();
        const TransferProgress progress = transfers.progress(transfers.list().at(0));
        EXPECT_GE(progress.downloaded, downloaded);
        downloaded = progress.downloaded;
        EXPECT_EQ(account.findPath("/A Film").has_value(),
                  progress.status == "SEEDING" || progress.status == "COMPLETED");
        if (states.empty() || states.back() != progress.status) states.push_back(progress.status);
    }
    EXPECT_EQ(states, (std::vector<std::string>{"IN_QUEUE", "DOWNLOADING", "COMPLETING", "SEEDING", "COMPLETED"}));
    EXPECT_EQ(downloaded, 120'000'000);
    EXPECT_EQ(account.findPath("/A Film")->id, transfers.list().at(0).fileID);

    transfers.add({.source = "https://example.com/x.zip", .errorMessage = "gone"});
    transfers.clean();
    ASSERT_EQ(transfers.list().size(), 1U);
    EXPECT_EQ(transfers.progress(transfers.list().at(0)).status, "ERROR");
    transfers.retry(transfers.list().at(0).id);
    EXPECT_EQ(transfers.progress(transfers.list().at(0)).status, "IN_QUEUE");
    EXPECT_FALSE(transfers.cancel(transfer.id));
}

std::vector<std::string> namesBelow(const Account& account, std::string_view path) {
    std::vector<std::string> names;
    for (const File& file : account.children(account.findPath(path).value().id)) names.push_back(file.name);
    return names;
}

TEST(LivingFolders, changeAsTimeGoesBy) {
    Account account;
    const FileID mine = account.addFile(account.makeFolders("/News"), {.name = "mine"});
    double now = 0;
    LivingFolders folders(account, [&now] { return now; });
    folders.add({.path = "/Growing", .interval = 10});
    folders.add({.path = "/News", .interval = 1, .change = LivingFolder::Change::turns});
    const auto at = [&](double time) {
        now = time;
        folders.advance();
    };
    at(0.9);
    EXPECT_EQ(account.childCount(account.findPath("/News")->id), 1U);
    at(4.5);  // two added, the first of them renamed, one more added
    const FileID renamed = account.findPath("/News/Restored Newsreel 001.mp4").value().id;
    EXPECT_EQ(namesBelow(account, "/News"),
              (std::vector<std::string>{"mine", "Restored Newsreel 001.mp4", "Newsreel 002.mp4", "Newsreel 003.mp4"}));
    at(5);
    EXPECT_NE(account.findPath("/News/Restored Newsreel 001.mp4").value().id, renamed);
    at(6);
    EXPECT_FALSE(account.findPath("/News/Restored Newsreel 001.mp4"));
    for (const File& file : account.children(account.findPath("/News")->id))
        if (file.id != mine) account.remove(file.id);  // as a client does that has downloaded them
    at(45);
    EXPECT_TRUE(account.find(mine));
    EXPECT_EQ(namesBelow(account, "/Growing"),
              (std::vector<std::string>{"Newsreel 001.mp4", "Newsreel 002.mp4", "Newsreel 003.mp4", "Extras"}));
    EXPECT_EQ(namesBelow(account, "/Growing/Extras"), std::vector<std::string>{"Newsreel 004.mp4"});
}

}  // namespace
}  // namespace tovri::sandbox
