#include "widgets/transfers/TransferRows.h"

#include "widgets/parts/text/Texts.h"

namespace tovri {

RowKey TransferRows::keyAt(std::size_t row) const {
    const TransferRow& transfer = screen_.rows()[row];
    if (transfer.isHeader()) return {0, static_cast<std::uint64_t>(transfer.group)};
    return {1, static_cast<std::uint64_t>(transfer.id->number)};
}

RowShape TransferRows::shapeAt(std::size_t row) const {
    const TransferRow& transfer = screen_.rows()[row];
    if (transfer.isHeader()) return RowShape::header;
    return transfer.progress ? RowShape::progress : RowShape::plain;
}

QString TransferRows::titleAt(std::size_t row) const {
    return textOf(screen_.rows()[row].title);
}

RowContent TransferRows::contentAt(std::size_t row) const {
    const TransferRow& transfer = screen_.rows()[row];
    RowContent content{.shape = shapeAt(row), .title = titleAt(row)};
    if (transfer.isHeader()) return content;
    content.symbol = transfer.symbol;
    content.symbolTint = transfer.symbolTint;
    content.caption = {{textOf(transfer.detail), transfer.detailTint}};
    if (transfer.progress) content.progress = RowProgress{transfer.progress};
    if (const auto button = transferButton(transfer))
        content.buttons = {{static_cast<int>(button->action), button->symbol, textOf(button->help)}};
    return content;
}

}  // namespace tovri
