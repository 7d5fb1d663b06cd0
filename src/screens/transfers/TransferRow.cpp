#include "screens/transfers/TransferRow.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "base/ByteCountFormat.h"
#include "service/requests/ASCII.h"

namespace tovri {
namespace {

constexpr std::string_view dot = " · ";

struct Status {
    std::string_view name;
    TransferGroup group;
    std::string_view symbol;
    Tint tint;
};

constexpr Status statuses[] = {
    {"IN_QUEUE", TransferGroup::active, "clock", Tint::secondary},
    {"WAITING", TransferGroup::active, "clock", Tint::secondary},
    {"DOWNLOADING", TransferGroup::active, "arrow.down.circle.fill", Tint::accent},
    {"COMPLETING", TransferGroup::active, "gearshape.2", Tint::secondary},
    {"SEEDING", TransferGroup::seeding, "arrow.up.circle.fill", Tint::success},
    {"COMPLETED", TransferGroup::completed, "checkmark.circle.fill", Tint::success},
    {"ERROR", TransferGroup::failed, "xmark.circle.fill", Tint::failure},
};

constexpr Status otherStatus{"", TransferGroup::other, "questionmark.circle", Tint::secondary};

struct Section {
    TransferGroup group;
    std::string_view title;
};

constexpr Section sections[] = {{TransferGroup::active, "Active"},
                                {TransferGroup::seeding, "Seeding"},
                                {TransferGroup::failed, "Failed"},
                                {TransferGroup::completed, "Completed"}};

const Status& statusOf(const Transfer& transfer) {
    const std::string name = asciiUppercased(transfer.status.value_or(""));
    const auto* const found = std::ranges::find(statuses, name, &Status::name);
    return found == std::end(statuses) ? otherStatus : *found;
}

bool hasText(const std::optional<std::string>& text) {
    return text && !text->empty();
}

std::string bytes(const std::optional<ByteCount>& count) {
    return formatByteCount(count.value_or(0));
}

std::string percentText(const Transfer& transfer) {
    const std::int64_t percent = transfer.percentDone.value_or(0);
    return percent < 0 || percent > 100 ? std::string(noNumber) : std::to_string(percent);
}

// Nothing while nothing moves.
std::string speedPart(const std::optional<BytesPerSecond>& speed) {
    return speed > BytesPerSecond() ? fmt::format("{}{}", dot, formatRate(*speed)) : "";
}

std::string seedingDetail(const Transfer& transfer) {
    const double ratio = transfer.currentRatio.value_or(0);
    const std::int64_t peers = transfer.peersConnected.value_or(0);
    return fmt::format("{0}{1}{2}Ratio: {3}{2}{4} peers", bytes(transfer.uploaded), speedPart(transfer.upSpeed), dot,
                       ratio < 0 ? std::string(noNumber) : fmt::format("{:.2f}", ratio),
                       peers < 0 ? std::string(noNumber) : std::to_string(peers));
}

// The service's numbers are taken as they come, so the sum stops at the largest.
BytesPerSecond totalOf(const std::vector<Transfer>& transfers, std::optional<BytesPerSecond> Transfer::* speed) {
    BytesPerSecond total;
    for (const Transfer& transfer : transfers) {
        const BytesPerSecond one = std::max((transfer.*speed).value_or(BytesPerSecond()), BytesPerSecond());
        const BytesPerSecond room(std::numeric_limits<std::int64_t>::max() - total.count);
        total = total + std::min(one, room);
    }
    return total;
}

}  // namespace

TransferGroup groupOf(const Transfer& transfer) {
    return statusOf(transfer).group;
}

std::string_view statusSymbol(const Transfer& transfer) {
    return statusOf(transfer).symbol;
}

std::string transferTitle(const Transfer& transfer) {
    return hasText(transfer.name) ? *transfer.name : "Unknown Transfer";
}

std::string transferDetail(const Transfer& transfer) {
    switch (groupOf(transfer)) {
        case TransferGroup::active:
            return fmt::format("{}%{}{} / {}{}", percentText(transfer), dot, bytes(transfer.downloaded),
                               bytes(transfer.size), speedPart(transfer.downSpeed));
        case TransferGroup::seeding:
            return seedingDetail(transfer);
        case TransferGroup::failed:
            return hasText(transfer.errorMessage) ? *transfer.errorMessage : "Transfer failed";
        case TransferGroup::completed:
            return fmt::format("{}{}Completed", bytes(transfer.size), dot);
        case TransferGroup::other:
            break;
    }
    return "";
}

std::optional<TransferRowAction> transferAction(const Transfer& transfer) {
    switch (groupOf(transfer)) {
        case TransferGroup::active:
        case TransferGroup::seeding:
            return TransferRowAction::cancel;
        case TransferGroup::failed:
            return TransferRowAction::retry;
        case TransferGroup::completed:
        case TransferGroup::other:
            break;
    }
    return std::nullopt;
}

std::optional<RowButton<TransferRowAction>> transferButton(const TransferRow& row) {
    if (!row.action) return std::nullopt;
    if (*row.action == TransferRowAction::retry)
        return RowButton<TransferRowAction>{*row.action, "arrow.clockwise", "Retry"};
    return RowButton<TransferRowAction>{*row.action, "xmark", "Cancel"};
}

std::vector<MenuItem<TransferRowAction>> transferMenu(const TransferRow& row) {
    const auto button = transferButton(row);
    if (!button) return {};
    return {{.action = button->action, .title = button->help}};
}

TransferRow transferRow(const Transfer& transfer) {
    const Status& status = statusOf(transfer);
    std::optional<double> progress;
    if (status.group == TransferGroup::active)
        progress = static_cast<double>(std::clamp<std::int64_t>(transfer.percentDone.value_or(0), 0, 100)) / 100;
    return {status.group,
            transfer.id,
            transferTitle(transfer),
            status.symbol,
            status.tint,
            transferDetail(transfer),
            status.group == TransferGroup::failed ? Tint::failure : Tint::secondary,
            progress,
            transferAction(transfer)};
}

std::vector<TransferRow> transferRows(const std::vector<Transfer>& transfers) {
    std::vector<TransferRow> rows;
    for (const Section& section : sections) {
        const std::size_t header = rows.size();
        rows.push_back({.group = section.group, .title = std::string(section.title)});
        for (const Transfer& transfer : transfers)
            if (groupOf(transfer) == section.group) rows.push_back(transferRow(transfer));
        if (rows.size() == header + 1) rows.pop_back();
    }
    return rows;
}

std::vector<Label> transferSummary(const std::vector<Transfer>& transfers) {
    std::vector<Label> parts;
    const auto count = [&](TransferGroup group, std::string_view symbol, std::string_view word, Tint tint) {
        const auto number = std::ranges::count(transfers, group, groupOf);
        if (number > 0) parts.push_back({symbol, fmt::format("{} {}", number, word), tint});
    };
    const auto speed = [&](std::optional<BytesPerSecond> Transfer::* member, std::string_view symbol) {
        const BytesPerSecond total = totalOf(transfers, member);
        if (total > BytesPerSecond()) parts.push_back({symbol, formatRate(total)});
    };
    count(TransferGroup::active, "arrow.down.circle.fill", "active", Tint::accent);
    count(TransferGroup::seeding, "arrow.up.circle.fill", "seeding", Tint::success);
    count(TransferGroup::failed, "xmark.circle.fill", "failed", Tint::failure);
    speed(&Transfer::downSpeed, "arrow.down");
    speed(&Transfer::upSpeed, "arrow.up");
    return parts;
}

}  // namespace tovri
