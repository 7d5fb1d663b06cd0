#include "cli/commands/ListCommand.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/display/DisplayText.h"
#include "service/JSONCoding.h"

namespace tovri::cli {

Task<ExitCode> ListCommand::run(std::stop_token stop) {
    std::string path = context_.invocation.operands.empty() ? "/" : context_.invocation.operands.front();
    Result<PutIOFile> found = co_await tree_.find(std::move(path), stop);
    Result<std::vector<PutIOFile>> files = std::vector<PutIOFile>();
    if (!found)
        files = failure(found);
    else if (found->isFolder())
        files = co_await tree_.list(found->id, stop);
    else
        files->push_back(*found);
    if (!files) {
        context_.complain(files.error());
        co_return ExitCode::failure;
    }
    if (context_.invocation.has("--json"))
        printJSON(*files);
    else
        print(*files);
    co_return ExitCode::success;
}

void ListCommand::print(const std::vector<PutIOFile>& files) const {
    std::size_t idColumns = 0;
    std::size_t sizeColumns = 0;
    for (const PutIOFile& file : files) {
        idColumns = std::max(idColumns, std::to_string(file.id).size());
        sizeColumns = std::max(sizeColumns, columnsOf(file.displaySize()));
    }
    for (const PutIOFile& file : files)
        context_.terminal.print(fmt::format("{}  {}  {}{}", rightAligned(std::to_string(file.id), idColumns),
                                            rightAligned(file.displaySize(), sizeColumns), printable(file.name),
                                            file.isFolder() ? "/" : ""));
}

void ListCommand::printJSON(const std::vector<PutIOFile>& files) const {
    std::string text = "{\"files\":[";
    for (const PutIOFile& file : files) text += (text.back() == '[' ? "" : ",") + encodeJSON(file);
    context_.terminal.print(text + "]}");
}

}  // namespace tovri::cli
