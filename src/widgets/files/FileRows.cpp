#include "widgets/files/FileRows.h"

#include <bit>

#include "widgets/parts/text/Texts.h"

namespace tovri {
namespace {

// A random number, which no file has for its own.
RowKey keyOf(const UUID& upload) {
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(upload.bytes);
    return {halves[0], halves[1]};
}

}  // namespace

RowKey FileRows::keyAt(std::size_t row) const {
    if (const PutIOFile* file = screen_.fileAt(row)) return {0, static_cast<std::uint64_t>(file->id.number)};
    return keyOf(screen_.row(row).uploadID);
}

QString FileRows::titleAt(std::size_t row) const {
    const PutIOFile* file = screen_.fileAt(row);
    return textOf(file ? file->name : screen_.row(row).name);
}

RowContent FileRows::contentAt(std::size_t row) const {
    const FileRow file = screen_.row(row);
    RowContent content{.symbol = file.symbol,
                       .symbolTint = file.tint,
                       .symbolSize = measures::fileSymbol,
                       .title = textOf(file.name),
                       .caption = {{textOf(file.caption), file.captionTint}},
                       .trailingSymbol = file.trailingSymbol};
    if (!file.detail.empty()) content.caption.push_back({textOf(file.detail)});
    for (const auto& button : file.buttons)
        content.buttons.push_back({static_cast<int>(button.action), button.symbol, textOf(button.help)});
    return content;
}

}  // namespace tovri
