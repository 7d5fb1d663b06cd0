#include "cli/display/TransferListing.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "base/ByteCountFormat.h"
#include "cli/display/DisplayText.h"
#include "cli/display/RowLayout.h"
#include "service/ASCII.h"
#include "service/JSONCoding.h"

namespace tovri::cli {
namespace {

using enum TransferGroup;

constexpr std::string_view dot = " \xC2\xB7 ";

constexpr std::pair<TransferGroup, std::string_view> sections[] = {
    {active, "Active"}, {seeding, "Seeding"}, {failed, "Failed"}, {completed, "Completed"}, {other, "Other"}};

std::string bytes(const std::optional<std::int64_t>& count) {
    return formatByteCount(count.value_or(0));
}

std::string activeDetail(const Transfer& transfer) {
    std::string text = fmt::format("{}%{}{} / {}", transfer.percentDone.value_or(0), dot, bytes(transfer.downloaded),
                                   bytes(transfer.size));
    if (transfer.downSpeed.value_or(0) > 0) text += fmt::format("{}{}/s", dot, bytes(transfer.downSpeed));
    return text;
}

std::string seedingDetail(const Transfer& transfer) {
    std::string text = bytes(transfer.uploaded);
    if (transfer.upSpeed.value_or(0) > 0) text += fmt::format("{}{}/s", dot, bytes(transfer.upSpeed));
    return text + fmt::format("{0}Ratio: {1:.2f}{0}{2} peers", dot, transfer.currentRatio.value_or(0),
                              transfer.peersConnected.value_or(0));
}

}  // namespace

TransferGroup groupOf(const Transfer& transfer) {
    if (transfer.isActive()) return active;
    const std::string status = asciiUppercased(transfer.status.value_or(""));
    if (status == "SEEDING") return seeding;
    if (status == "ERROR") return failed;
    return status == "COMPLETED" ? completed : other;
}

std::string titleOf(const Transfer& transfer) {
    return transfer.name.value_or("Unknown Transfer");
}

std::string detailOf(const Transfer& transfer) {
    switch (groupOf(transfer)) {
        case active:
            return activeDetail(transfer);
        case seeding:
            return seedingDetail(transfer);
        case failed:
            return transfer.errorMessage.value_or("Transfer failed");
        case completed:
            return fmt::format("{}{}Completed", bytes(transfer.size), dot);
        case other:
            break;
    }
    return transfer.status.value_or("");
}

std::string summaryOf(const std::vector<Transfer>& transfers) {
    std::vector<std::string> parts;
    const auto count = [&](TransferGroup group, std::string_view word) {
        const auto number = std::ranges::count(transfers, group, groupOf);
        if (number > 0) parts.push_back(fmt::format("{} {}", number, word));
    };
    const auto speed = [&](const std::optional<std::int64_t> Transfer::* member, std::string_view word) {
        std::int64_t total = 0;
        for (const Transfer& transfer : transfers) total += (transfer.*member).value_or(0);
        if (total > 0) parts.push_back(fmt::format("{}/s {}", formatByteCount(total), word));
    };
    count(active, "active");
    count(seeding, "seeding");
    count(failed, "failed");
    speed(&Transfer::downSpeed, "down");
    speed(&Transfer::upSpeed, "up");
    return fmt::format("{}", fmt::join(parts, dot));
}

std::vector<std::string> transferLines(const std::vector<Transfer>& transfers, std::optional<std::size_t> width) {
    if (transfers.empty()) return {"No Transfers"};
    std::vector<ListedRow> rows;
    std::vector<std::pair<std::size_t, std::string_view>> headings;  // before which row
    for (const auto& [group, title] : sections) {
        const std::size_t first = rows.size();
        for (const Transfer& transfer : transfers)
            if (groupOf(transfer) == group)
                rows.push_back(
                    {std::to_string(transfer.id), printable(titleOf(transfer)), printable(detailOf(transfer))});
        if (rows.size() > first) headings.emplace_back(first, title);
    }
    std::vector<std::string> lines;
    if (std::string summary = summaryOf(transfers); !summary.empty())
        lines.push_back(width ? shortened(summary, *width - 1) : std::move(summary));
    auto heading = headings.begin();
    const std::vector<std::string> aligned = alignedRows(rows, width ? std::optional(*width - 2) : std::nullopt);
    for (std::size_t i = 0; i < aligned.size(); ++i) {
        if (heading != headings.end() && heading->first == i) {
            if (!lines.empty()) lines.emplace_back();
            lines.emplace_back((heading++)->second);
        }
        lines.push_back("  " + aligned[i]);
    }
    return lines;
}

std::string transfersJSON(const std::vector<Transfer>& transfers) {
    std::string text = R"({"transfers":[)";
    for (const Transfer& transfer : transfers) text += (text.back() == '[' ? "" : ",") + encodeJSON(transfer);
    return text + "]}";
}

}  // namespace tovri::cli
