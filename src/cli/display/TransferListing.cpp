#include "cli/display/TransferListing.h"

#include <utility>

#include "cli/display/DisplayText.h"
#include "cli/display/LabelText.h"
#include "cli/display/RowLayout.h"
#include "screens/transfers/TransferRow.h"
#include "service/records/JSONCoding.h"

namespace tovri::cli {
namespace {

// A transfer is acted on by its ID, so the one of no group is listed too, with what the service says of it.
std::vector<TransferRow> rowsOf(const std::vector<Transfer>& transfers) {
    std::vector<TransferRow> rows = transferRows(transfers);
    bool isFirst = true;
    for (const Transfer& transfer : transfers) {
        if (groupOf(transfer) != TransferGroup::other) continue;
        if (std::exchange(isFirst, false)) rows.push_back({.title = "Other"});
        rows.push_back(transferRow(transfer));
        rows.back().detail = transfer.status.value_or("");
    }
    return rows;
}

}  // namespace

std::vector<std::string> transferLines(const std::vector<Transfer>& transfers, std::optional<std::size_t> width) {
    if (transfers.empty()) return {"No Transfers"};
    const std::vector<TransferRow> rows = rowsOf(transfers);
    std::vector<ListedRow> listed;
    for (const TransferRow& row : rows)
        if (!row.isHeader()) listed.push_back({row.id->text(), printable(row.title), printable(row.detail)});

    std::vector<std::string> lines;
    if (std::string summary = joined(transferSummary(transfers)); !summary.empty())
        lines.push_back(width ? shortened(summary, *width - 1) : std::move(summary));
    const std::vector<std::string> aligned = alignedRows(listed, width ? std::optional(*width - 2) : std::nullopt);
    auto next = aligned.begin();
    for (const TransferRow& row : rows) {
        if (row.isHeader() && !lines.empty()) lines.emplace_back();
        lines.push_back(row.isHeader() ? row.title : "  " + *next++);
    }
    return lines;
}

std::string transfersJSON(const std::vector<Transfer>& transfers) {
    std::string text = R"({"transfers":[)";
    for (const Transfer& transfer : transfers)
        text += (text.back() == '[' ? "" : ",") + escapedJSON(encodeJSON(transfer));
    return text + "]}";
}

}  // namespace tovri::cli
