#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "platform/Workspace.h"
#include "service/PutIOAPI.h"

namespace tovri {

// The sheet in which the user gives put.io something to fetch. Owned by the transfers screen; its fields are new each
// time it opens. It does not load the list: what was added shows up with the next refresh.
class AddTransferSheet {
public:
    static constexpr const char* title = "Add Transfer";
    static constexpr const char* urlPrompt = "Magnet link or torrent URL";
    static constexpr const char* extractLabel = "Extract archives after download";
    static constexpr const char* cancelLabel = "Cancel";
    static constexpr const char* addLabel = "Add Transfer";
    static constexpr const char* errorSymbol = "exclamationmark.triangle";

    // Both outlive the sheet.
    AddTransferSheet(PutIOAPI& api, Workspace& workspace) : api_(api), workspace_(workspace) {}

    [[nodiscard]] bool isOpen() const { return isOpen_; }

    [[nodiscard]] const std::string& urlText() const { return urlText_; }

    [[nodiscard]] bool extract() const { return extract_; }

    // While the service is asked; the button turns and takes no press.
    [[nodiscard]] bool isAdding() const { return isAdding_; }

    // Whether the confirming button does anything.
    [[nodiscard]] bool canAdd() const;

    // Why the last attempt failed; under the field.
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

    // Takes over a magnet link or the address of a torrent that lies on the clipboard.
    void open();

    // The Cancel button. An attempt under way is called off.
    void close();

    void setURLText(std::string text);
    void setExtract(bool extracts);

    // The confirming button; closes the sheet once put.io has taken it.
    void add();

    // Told after any of the above differs.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    Task<> add(std::string url, bool extracts, std::stop_token stop);

    PutIOAPI& api_;
    Workspace& workspace_;
    bool isOpen_ = false;
    std::string urlText_;
    bool extract_ = false;
    bool isAdding_ = false;
    std::optional<std::string> error_;
    std::stop_source opening_;  // stopped when what it opened is closed
    Signal<> changes_;
    TaskScope scope_;
};

}  // namespace tovri
