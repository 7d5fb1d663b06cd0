#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "screens/files/FileBrowserState.h"
#include "service/ServiceFixture.h"
#include "support/PlainTextCollation.h"

namespace tovri::test {

// An account whose folders a test fills, and the state of a browser that looks at it.
class FileBrowserFixture : public ServiceFixture {
public:
    FileBrowserFixture() {
        state.configure(api);
        http.handler = [this](const HTTPRequest& request) { return respond(request); };
        EXPECT_TRUE(files.createDirectories("/tmp"));
        files.put("/home/user/a.txt", "a");
        files.put("/home/user/b.txt", "b");
        files.put("/home/user/c.txt", "c");
    }

    static PutIOFile file(std::int64_t id, std::string name, std::optional<ByteCount> size = std::nullopt) {
        PutIOFile file;
        file.id = FileID(id);
        file.name = std::move(name);
        file.size = size;
        file.fileType = PutIOFile::FileType::file;
        return file;
    }

    static PutIOFile folder(std::int64_t id, std::string name) {
        PutIOFile folder = file(id, std::move(name));
        folder.fileType = PutIOFile::FileType::folder;
        return folder;
    }

    void settle() {
        EXPECT_TRUE(loop.runUntil([this] { return loop.isIdle(); }));
    }

    void load() {
        state.loadFiles();
        settle();
    }

    // How often a request went to an address that ends so.
    [[nodiscard]] std::size_t requestsTo(std::string_view end) const {
        return static_cast<std::size_t>(std::ranges::count_if(
            http.requests, [&](const HTTPRequest& request) { return request.url.ends_with(end); }));
    }

    // "Movies/ a.txt b.txt", as displayed.
    [[nodiscard]] std::string displayed() {
        std::string names;
        for (const PutIOFile* file : state.displayedFiles(collation)) {
            if (!names.empty()) names += ' ';
            names += file->name;
            if (file->isFolder()) names += '/';
        }
        return names;
    }

    std::map<std::int64_t, std::vector<PutIOFile>> folders;  // by folder
    std::size_t pageSize = 1000;                             // files that the service lists at once
    std::map<std::string, int> statuses;                     // by the end of an address: what it answers instead of 200
    PlainTextCollation collation;
    FileBrowserState state{platform.loop, platform.random};

private:
    [[nodiscard]] Result<HTTPResponse> respond(const HTTPRequest& request) const {
        for (const auto& [end, status] : statuses)
            if (request.url.ends_with(end)) return HTTPResponse{status, ""};
        if (request.url.ends_with("/url"))
            return HTTPResponse{200, R"({"url":"https://storage.put.io/1","status":"OK"})"};
        if (request.url.ends_with("/upload"))
            return HTTPResponse{200, R"({"file":{"id":77,"name":"uploaded"},"status":"OK"})"};
        if (const auto at = request.body.find("cursor="); at != std::string::npos)
            return page(std::stoll(request.body.substr(at + 7)),
                        std::stoul(request.body.substr(request.body.find('-') + 1)));
        const auto at = request.url.find("parent_id=");
        if (at == std::string::npos) return HTTPResponse{200, R"({"status":"OK"})"};
        return page(std::stoll(request.url.substr(at + 10)), 0);
    }

    [[nodiscard]] HTTPResponse page(std::int64_t id, std::size_t from) const {
        PutIOFileList list;
        list.status = "OK";
        if (const auto found = folders.find(id); found != folders.end()) {
            const std::size_t end = std::min(from + pageSize, found->second.size());
            if (end < found->second.size()) list.cursor = std::to_string(id) + "-" + std::to_string(end);
            for (std::size_t i = from; i < end; ++i) list.files.push_back(found->second[i]);
        }
        return {200, encodeJSON(list)};
    }
};

}  // namespace tovri::test
