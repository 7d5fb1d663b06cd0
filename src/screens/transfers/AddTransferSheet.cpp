#include "screens/transfers/AddTransferSheet.h"

#include "base/Trimmed.h"

namespace tovri {
namespace {

bool looksLikeTransfer(const std::string& text) {
    return text.starts_with("magnet:") || text.ends_with(".torrent");
}

}  // namespace

void AddTransferSheet::open() {
    if (isOpen_) return;
    isOpen_ = true;
    urlText_.clear();
    extract_ = false;
    isAdding_ = false;
    error_.reset();
    opening_ = std::stop_source();
    if (std::optional<std::string> text = workspace_.clipboardText(); text && looksLikeTransfer(*text))
        urlText_ = std::move(*text);
    changes_.tell();
}

void AddTransferSheet::close() {
    if (!isOpen_) return;
    isOpen_ = false;
    isAdding_ = false;
    opening_.request_stop();
    changes_.tell();
}

void AddTransferSheet::setURLText(std::string text) {
    if (urlText_ == text) return;
    urlText_ = std::move(text);
    changes_.tell();
}

void AddTransferSheet::setExtract(bool extracts) {
    if (std::exchange(extract_, extracts) != extracts) changes_.tell();
}

bool AddTransferSheet::canAdd() const {
    return isOpen_ && !isAdding_ && !trimmed(urlText_).empty();
}

void AddTransferSheet::add() {
    if (!canAdd()) return;
    isAdding_ = true;
    error_.reset();
    changes_.tell();
    scope_.start(add(std::string(trimmed(urlText_)), extract_, opening_.get_token()));
}

Task<> AddTransferSheet::add(std::string url, bool extracts, std::stop_token stop) {
    const Result<Transfer> added = co_await api_.addTransfer(std::move(url), rootFolderID, extracts, stop);
    if (stop.stop_requested()) co_return;
    if (added) {
        close();
        co_return;
    }
    isAdding_ = false;
    error_ = added.error().description;
    changes_.tell();
}

}  // namespace tovri
