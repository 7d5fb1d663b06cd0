#include "widgets/automation/SyncRuleCells.h"

#include <QPainter>
#include <QStyle>
#include <algorithm>
#include <utility>

#include "widgets/automation/SyncRuleModel.h"
#include "widgets/parts/forms/Switch.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"
#include "widgets/theme/TextDirection.h"

namespace tovri {
namespace {

constexpr int symbolColumn = 20;

// The first column begins where the rows of the other lists do.
int startOf(int column) {
    return column == 0 ? measures::margin : measures::gap;
}

}  // namespace

SyncRuleCells::SyncRuleCells(const QWidget& widget, SyncRuleRow row)
    : widget_(widget),
      row_(std::move(row)),
      titleFont_(titleFont(widget.font())),
      captionFont_(tabularFont(captionFont(widget.font()))) {}

// All of it, unless a failure stands below.
QRect SyncRuleCells::firstLine(const QRect& row) const {
    return row_.failure.empty() ? row : row.adjusted(0, 0, 0, -row.height() / 2 + measures::gap);
}

QRect SyncRuleCells::mirrored(const QRect& cell, const QRect& logical) const {
    return QStyle::visualRect(widget_.layoutDirection(), cell, logical);
}

// As wide as the name, or as there is room; not mirrored.
QRect SyncRuleCells::nameRect(const QRect& cell) const {
    const int begin = measures::margin + symbolColumn + measures::margin;
    const int end = measures::gap + (row_.deletes ? measures::smallSymbol + measures::spacing : 0);
    const int wanted = QFontMetrics(titleFont_).horizontalAdvance(textOf(row_.folderName)) + 1;
    return {cell.left() + begin, cell.top(), std::clamp(cell.width() - begin - end, 0, wanted), cell.height()};
}

QRect SyncRuleCells::deletionRect(const QRect& cell) const {
    const QRect name = nameRect(cell);
    return {name.right() + 1 + measures::spacing, cell.top(), measures::smallSymbol, cell.height()};
}

// Ends where the rows of the other lists do; not mirrored.
QRect SyncRuleCells::switchRect(const QRect& cell) {
    return {cell.right() + 1 - measures::margin - switchWidth, cell.top(), switchWidth, cell.height()};
}

void SyncRuleCells::paint(QPainter& painter, int column, const QRect& whole) const {
    const QPalette& palette = widget_.palette();
    const QRect cell = firstLine(whole);
    const QRect text = cell.adjusted(measures::gap, 0, -measures::gap, 0);
    switch (column) {
        case SyncRuleModel::remoteFolder:
            return paintFolder(painter, cell);
        case SyncRuleModel::arrow:
            return paintSymbol(painter, cell, measures::smallSymbol, SyncRuleRow::arrowSymbol,
                               color(Tint::secondary, palette));
        case SyncRuleModel::localFolder:
            return paintText(painter, text, widget_.font(), Tint::primary, textOf(row_.localFolder), Qt::ElideLeft);
        case SyncRuleModel::interval:
            return paintText(painter, text, captionFont_, Tint::secondary, textOf(row_.interval), Qt::ElideRight);
        case SyncRuleModel::status:
            return paintText(painter, text, captionFont_, row_.statusTint, textOf(row_.status), Qt::ElideRight);
        default:
            return paintSwitch(painter, mirrored(whole, switchRect(whole)), palette, row_.isEnabled,
                               widget_.layoutDirection());
    }
}

void SyncRuleCells::paintFailure(QPainter& painter, const QRect& row) const {
    if (row_.failure.empty()) return;
    const int begin = measures::margin + symbolColumn + measures::margin;
    const int end = measures::margin + switchWidth + measures::margin;
    const QRect line(row.left() + begin, row.center().y(), row.width() - begin - end, row.height() / 2);
    paintText(painter, mirrored(row, line), captionFont_, row_.statusTint, textOf(row_.failure), Qt::ElideRight);
}

void SyncRuleCells::paintFolder(QPainter& painter, const QRect& cell) const {
    const QPalette& palette = widget_.palette();
    const QRect symbol(cell.left() + measures::margin, cell.top(), symbolColumn, cell.height());
    paintSymbol(painter, mirrored(cell, symbol), measures::symbol, SyncRuleRow::folderSymbol,
                color(Tint::accent, palette));
    paintText(painter, mirrored(cell, nameRect(cell)), titleFont_, Tint::primary, textOf(row_.folderName),
              Qt::ElideRight);
    if (row_.deletes)
        paintSymbol(painter, mirrored(cell, deletionRect(cell)), measures::smallSymbol, SyncRuleRow::deletionSymbol,
                    color(Tint::attention, palette));
}

void SyncRuleCells::paintText(QPainter& painter, const QRect& rect, const QFont& font, Tint tint, const QString& text,
                              Qt::TextElideMode elision) const {
    painter.setFont(font);
    painter.setPen(color(tint, widget_.palette()));
    painter.drawText(rect,
                     textFlags(text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, widget_.layoutDirection()),
                     QFontMetrics(font).elidedText(text, elision, rect.width()));
}

QString SyncRuleCells::help(int column, const QRect& whole, const QPoint& point) const {
    const QRect cell = firstLine(whole);
    if (!cell.contains(point)) return textOf(row_.failure);
    const auto isCut = [](const QFont& font, const QString& text, int width) {
        return QFontMetrics(font).horizontalAdvance(text) > width;
    };
    const QString status = textOf(row_.status);
    switch (column) {
        case SyncRuleModel::remoteFolder: {
            const QString name = textOf(row_.folderName);
            if (row_.deletes && mirrored(cell, deletionRect(cell)).contains(point))
                return textOf(SyncRuleRow::deletionHelp);
            return isCut(titleFont_, name, nameRect(cell).width()) ? name : QString();
        }
        case SyncRuleModel::localFolder:
            return textOf(row_.localFolderHelp);
        case SyncRuleModel::status:
            if (!row_.statusHelp.empty()) return textOf(row_.statusHelp);
            return isCut(captionFont_, status, cell.width() - 2 * measures::gap) ? status : QString();
        default:
            return {};
    }
}

// --- Header and sizes ---

SyncRuleHeader::SyncRuleHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
    setFixedHeight(measures::headerHeight);
    setSectionsMovable(false);
    setSectionsClickable(false);
    setHighlightSections(false);
    setMinimumSectionSize(measures::margin);
}

// From right to left, Qt's own places each section a pixel beside its column.
void SyncRuleHeader::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(viewport());
    for (int section = 0; section < count(); ++section)
        paintSection(&painter, {sectionViewportPosition(section), 0, sectionSize(section), height()}, section);
}

void SyncRuleHeader::paintSection(QPainter* painter, const QRect& rect, int section) const {
    painter->fillRect(rect, palette().color(QPalette::Base));
    painter->fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), lineColor(palette()));
    const QRect logical = rect.adjusted(startOf(section), 0, 0, -1);
    painter->setFont(sectionHeaderFont(font()));
    painter->setPen(color(Tint::secondary, palette()));
    const QString title = model()->headerData(section, orientation()).toString();
    painter->drawText(QStyle::visualRect(layoutDirection(), rect, logical),
                      textFlags(title, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, layoutDirection()),
                      title);
}

QSize SyncRuleRowHeight::sizeHint(const QStyleOptionViewItem& /*option*/, const QModelIndex& /*index*/) const {
    return {0, measures::rowHeight};
}

// A title that needs more room than its column was given, as in a large font, gets it.
void arrangeColumns(QHeaderView& header) {
    const QFontMetrics metrics(sectionHeaderFont(header.font()));
    header.setStretchLastSection(false);
    for (int column = 0; column < SyncRuleModel::columnEnd; ++column) {
        const auto& [title, width] = SyncRuleRow::columns[column];
        header.setSectionResizeMode(column, width == 0 ? QHeaderView::Stretch : QHeaderView::Fixed);
        if (width == 0) continue;
        header.resizeSection(column, std::max(width, metrics.horizontalAdvance(textOf(title)) + 2 * measures::gap));
    }
}

}  // namespace tovri
