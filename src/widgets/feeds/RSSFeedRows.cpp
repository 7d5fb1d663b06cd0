#include "widgets/feeds/RSSFeedRows.h"

#include "widgets/parts/text/Texts.h"

namespace tovri {

RowKey RSSFeedRows::keyAt(std::size_t row) const {
    return {0, static_cast<std::uint64_t>(screen_.rows()[row].id.number)};
}

QString RSSFeedRows::titleAt(std::size_t row) const {
    return textOf(screen_.rows()[row].title);
}

RowContent RSSFeedRows::contentAt(std::size_t row) const {
    RowContent content{.symbol = RSSFeedRow::symbol, .symbolTint = Tint::accent, .title = titleAt(row)};
    for (const Label& part : screen_.rows()[row].caption)
        content.caption.push_back({textOf(part.text), part.tint, part.symbol});
    return content;
}

}  // namespace tovri
