#include "cli/commands/files/ListCommand.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/display/DisplayText.h"
#include "service/records/JSONCoding.h"

namespace tovri::cli {

Task<ExitCode> ListCommand::run(std::stop_token stop) {
    std::string path = context_.invocation.operands.empty() ? "/" : context_.invocation.operands.front();
    Result<PutIOFile> found = co_await tree_.find(path, stop);
    Result<FolderListing> listing = FolderListing();
    if (!found)
        listing = failure(found);
    else if (found->isFolder())
        listing = co_await tree_.list(folderOf(found->id), stop);
    else
        listing->files.push_back(*found);
    if (!listing) co_return context_.fail(listing.error());
    if (context_.invocation.has("--json"))
        printJSON(listing->files);
    else
        print(listing->files);
    if (const auto cut = cutError(*listing, fmt::format("\"{}\"", path))) co_return context_.fail(*cut);
    co_return ExitCode::success;
}

void ListCommand::print(const std::vector<PutIOFile>& files) const {
    std::size_t idColumns = 0;
    std::size_t sizeColumns = 0;
    for (const PutIOFile& file : files) {
        idColumns = std::max(idColumns, file.id.text().size());
        sizeColumns = std::max(sizeColumns, columnsOf(file.displaySize()));
    }
    for (const PutIOFile& file : files)
        context_.terminal.print(fmt::format("{}  {}  {}{}", rightAligned(file.id.text(), idColumns),
                                            rightAligned(file.displaySize(), sizeColumns), printable(file.name),
                                            file.isFolder() ? "/" : ""));
}

void ListCommand::printJSON(const std::vector<PutIOFile>& files) const {
    std::string text = "{\"files\":[";
    for (const PutIOFile& file : files) text += (text.back() == '[' ? "" : ",") + escapedJSON(encodeJSON(file));
    context_.terminal.print(text + "]}");
}

}  // namespace tovri::cli
