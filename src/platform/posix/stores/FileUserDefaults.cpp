#include "platform/posix/stores/FileUserDefaults.h"

#include "platform/posix/files/FileError.h"
#include "platform/posix/folders/XDGFolders.h"

namespace tovri {

FileUserDefaults::FileUserDefaults(FileManager& files, DiagnosticLog& log, std::filesystem::path file)
    : files_(files), log_(log), file_(std::move(file)) {
    if (auto values = read()) {
        values_ = std::move(*values);
    } else {
        log_.line("[Preferences] Ignoring unreadable preferences at " + displayText(file_));
    }
}

void FileUserDefaults::setString(std::string_view key, std::string_view value) {
    values_.setString(key, value);
    write(key);
}

void FileUserDefaults::setBoolean(std::string_view key, bool value) {
    values_.setBoolean(key, value);
    write(key);
}

void FileUserDefaults::setInteger(std::string_view key, std::int64_t value) {
    values_.setInteger(key, value);
    write(key);
}

void FileUserDefaults::setData(std::string_view key, std::string_view bytes) {
    values_.setData(key, bytes);
    write(key);
}

void FileUserDefaults::remove(std::string_view key) {
    values_.remove(key);
    write(key);
}

// None when something stands there that is not a file of settings.
std::optional<JSONObject> FileUserDefaults::read() {
    if (!files_.exists(file_)) return JSONObject();
    const auto text = files_.readFile(file_);
    return text ? JSONObject::parse(*text) : std::nullopt;
}

void FileUserDefaults::write(std::string_view changed) {
    unsaved_.emplace(changed);
    auto current = read();
    if (current) {
        for (const std::string& key : unsaved_) current->copyMember(key, values_);
        values_ = std::move(*current);
    } else {
        keepAside();
    }
    Result<void> written = createPrivateFolder(file_.parent_path());
    if (written) written = files_.writeFileAtomically(file_, values_.text());
    if (written)
        unsaved_.clear();
    else if (tellFailure_)
        tellFailure_(written.error().description);
}

void FileUserDefaults::keepAside() {
    for (int number = 1; files_.exists(file_); ++number) {
        auto aside = file_;
        aside += ".unreadable-" + std::to_string(number);
        const auto moved = files_.moveItem(file_, aside, {});
        if (!moved && moved.error().code != ErrorCase::alreadyExists) return;
    }
}

}  // namespace tovri
