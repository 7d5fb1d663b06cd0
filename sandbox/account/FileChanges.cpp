#include "sandbox/account/FileChanges.h"

#include <memory>
#include <utility>

#include "sandbox/ByteSize.h"
#include "sandbox/api/Answers.h"
#include "sandbox/api/ApiCall.h"

namespace tovri::sandbox {
namespace {

HttpResponse showID(FileID id) {
    return jsonAnswer(JsonWriter().beginObject().field("id", id).field("status", "OK").endObject());
}

HttpResponse bad(std::string_view message) {
    return errorAnswer(400, "BadRequest", message);
}

// A file with the content that "text" or "size" asks for; none when the size cannot be read.
std::optional<NewFile> newFile(std::string name, const Fields& fields, std::uint64_t usualSize) {
    NewFile file{.name = std::move(name), .size = usualSize};
    if (const auto text = valueOf(fields, "text")) {
        file.storedContent = std::make_shared<const std::string>(*text);
    } else if (const auto size = valueOf(fields, "size")) {
        const std::optional<std::uint64_t> bytes = parseByteSize(*size);
        if (!bytes) return std::nullopt;
        file.size = *bytes;
    }
    return file;
}

}  // namespace

HttpResponse FileChanges::answer(std::string_view action, const Fields& fields) {
    if (action == "add") return add(fields);
    const std::optional<File> file = named(fields);
    if (!file || file->id == rootID) return notFoundAnswer();
    if (action == "remove") return remove(*file);
    if (action == "rename") return rename(*file, fields);
    if (action == "replace") return replace(*file, fields);
    if (action == "move") return move(*file, fields);
    return notFoundAnswer();
}

HttpResponse FileChanges::add(const Fields& fields) {
    constexpr std::uint64_t usualSize = 1 << 20;
    const std::string_view path = valueOf(fields, "path").value_or("");
    if (path.empty()) return bad("path is missing.");
    const std::size_t name = path.rfind('/') + 1;
    std::optional<NewFile> file = newFile(std::string(path.substr(name)), fields, usualSize);
    if (!file) return bad("size is no size.");
    const FileID folder = account_.makeFolders(path.substr(0, name));
    return showID(file->name.empty() ? folder : account_.addFile(folder, std::move(*file)));
}

HttpResponse FileChanges::remove(const File& file) {
    return account_.remove(file.id) ? showID(file.id) : notFoundAnswer();
}

HttpResponse FileChanges::rename(const File& file, const Fields& fields) {
    const auto name = valueOf(fields, "name");
    if (!name) return bad("name is missing.");
    return account_.rename(file.id, std::string(*name)) ? showID(file.id) : notFoundAnswer();
}

HttpResponse FileChanges::replace(const File& file, const Fields& fields) {
    if (file.isFolder) return bad("Only a file can be replaced.");
    std::optional<NewFile> wanted = newFile(file.name, fields, static_cast<std::uint64_t>(file.size));
    if (!wanted) return bad("size is no size.");
    const std::optional<FileID> id = account_.replace(file.id, std::move(*wanted));
    return id ? showID(*id) : notFoundAnswer();
}

HttpResponse FileChanges::move(const File& file, const Fields& fields) {
    const auto path = valueOf(fields, "to");
    if (!path) return bad("to is missing.");
    if (!account_.move(file.id, account_.makeFolders(*path))) return bad("It cannot be moved there.");
    return showID(file.id);
}

std::optional<File> FileChanges::named(const Fields& fields) const {
    if (const auto path = valueOf(fields, "path")) return account_.findPath(*path);
    const auto id = parseID(valueOf(fields, "id").value_or(""));
    return id ? account_.find(*id) : std::nullopt;
}

}  // namespace tovri::sandbox
