#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "screens/Label.h"
#include "screens/MenuItem.h"
#include "screens/RowButton.h"
#include "screens/Tint.h"
#include "service/records/Transfer.h"

namespace tovri {

// Where its status puts a transfer; also the sections of the list, in their order. The service has states that belong
// to none, and those are not listed.
enum class TransferGroup : std::uint8_t { active, seeding, failed, completed, other };

enum class TransferRowAction : std::uint8_t { cancel, retry };

// A line of the list: a section's header, or a transfer.
struct TransferRow {
    TransferGroup group = TransferGroup::other;
    std::optional<TransferID> id = {};  // the transfer's; none: the header of `group`
    std::string title = {};
    std::string_view symbol = {};
    Tint symbolTint = Tint::secondary;
    std::string detail = {};
    Tint detailTint = Tint::secondary;
    std::optional<double> progress = {};           // 0 to 1, of an active one
    std::optional<TransferRowAction> action = {};  // its one button, and all of its menu

    bool operator==(const TransferRow&) const = default;

    [[nodiscard]] bool isHeader() const { return !id; }
};

[[nodiscard]] TransferGroup groupOf(const Transfer& transfer);

[[nodiscard]] std::string_view statusSymbol(const Transfer& transfer);

// Its name, or what stands for a missing one.
[[nodiscard]] std::string transferTitle(const Transfer& transfer);

// "45% · 450 MB / 1 GB · 2 MB/s"; empty for a transfer of no group.
[[nodiscard]] std::string transferDetail(const Transfer& transfer);

// What the state of the transfer allows.
[[nodiscard]] std::optional<TransferRowAction> transferAction(const Transfer& transfer);

[[nodiscard]] std::optional<RowButton<TransferRowAction>> transferButton(const TransferRow& row);
[[nodiscard]] std::vector<MenuItem<TransferRowAction>> transferMenu(const TransferRow& row);

[[nodiscard]] TransferRow transferRow(const Transfer& transfer);

// Each section's header and transfers, without the sections that would be empty.
[[nodiscard]] std::vector<TransferRow> transferRows(const std::vector<Transfer>& transfers);

// How many are active, seeding, failed, and how fast all are together; of what there is none nothing is said.
[[nodiscard]] std::vector<Label> transferSummary(const std::vector<Transfer>& transfers);

// What makes a row the same one in another list: a transfer stays itself in whatever section.
struct TransferRowTraits {
    struct Key {
        std::optional<TransferGroup> header;
        std::optional<TransferID> id;

        bool operator==(const Key&) const = default;
    };

    static Key key(const TransferRow& row) { return {row.id ? std::nullopt : std::optional(row.group), row.id}; }

    static bool isSame(const TransferRow& left, const TransferRow& right) { return left == right; }
};

}  // namespace tovri

template <>
struct std::hash<tovri::TransferRowTraits::Key> {
    std::size_t operator()(const tovri::TransferRowTraits::Key& key) const noexcept {
        return std::hash<std::optional<tovri::TransferID>>()(key.id) * 31 +
               std::hash<std::optional<tovri::TransferGroup>>()(key.header);
    }
};
