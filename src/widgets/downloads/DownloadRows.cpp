#include "widgets/downloads/DownloadRows.h"

#include <cstring>

#include "widgets/parts/text/Texts.h"

namespace tovri {

// No download has the first UUIDs of all, which are those of the sections.
RowKey DownloadRows::keyAt(std::size_t row) const {
    if (screen_.isHeader(row)) return {0, static_cast<std::uint64_t>(screen_.sectionAt(row))};
    RowKey key;
    const UUID& id = screen_.idAt(row);
    static_assert(sizeof key.high + sizeof key.low == sizeof id.bytes);
    std::memcpy(&key.high, id.bytes.data(), sizeof key.high);
    std::memcpy(&key.low, id.bytes.data() + sizeof key.high, sizeof key.low);
    // A batch has a row in each section; nothing else comes near its random numbers.
    if (screen_.isBatch(row)) key.low += static_cast<std::uint64_t>(screen_.sectionAt(row));
    return key;
}

RowShape DownloadRows::shapeAt(std::size_t row) const {
    if (screen_.isHeader(row)) return RowShape::header;
    return screen_.hasProgressBarAt(row) ? RowShape::progress : RowShape::plain;
}

QString DownloadRows::titleAt(std::size_t row) const {
    return textOf(screen_.isHeader(row) ? screen_.headerAt(row) : screen_.titleAt(row));
}

RowContent DownloadRows::contentAt(std::size_t row) const {
    if (screen_.isHeader(row)) return {.shape = RowShape::header, .title = titleAt(row)};
    const DownloadRow download = screen_.rowAt(row);
    RowContent content{.shape = shapeAt(row),
                       .symbol = download.symbol.name,
                       .symbolTint = download.symbol.tint,
                       .pulses = download.symbol.pulses,
                       .title = textOf(download.title),
                       .separator = textOf(DownloadRow::separator),
                       .isOpen = download.isOpen,
                       .level = download.isMember ? 1 : 0};
    for (const Label& part : download.status) content.caption.push_back({textOf(part.text), part.tint, part.symbol});
    if (download.progress) content.progress = RowProgress{download.progress->fraction, download.progress->tint};
    for (const auto& button : download.buttons)
        content.buttons.push_back({static_cast<int>(button.action), button.symbol, textOf(button.help)});
    if (!download.details.empty()) content.toolTip = content.title + u'\n' + textOf(download.details);
    return content;
}

}  // namespace tovri
