#pragma once

#include <QHeaderView>
#include <QStyledItemDelegate>

#include "screens/automation/SyncRuleRow.h"
#include "widgets/rows/RowPainter.h"

namespace tovri {

// The cells of one rule. Right-to-left widgets get mirrored ones.
class SyncRuleCells {
public:
    // `widget` outlives this.
    SyncRuleCells(const QWidget& widget, SyncRuleRow row);

    void paint(QPainter& painter, int column, const QRect& whole) const;

    // What failed last, below the texts of all columns, where something has.
    void paintFailure(QPainter& painter, const QRect& row) const;

    // The tooltip for what is there; empty for none.
    [[nodiscard]] QString help(int column, const QRect& whole, const QPoint& point) const;

private:
    [[nodiscard]] QRect firstLine(const QRect& row) const;
    [[nodiscard]] QRect nameRect(const QRect& cell) const;
    [[nodiscard]] QRect deletionRect(const QRect& cell) const;
    [[nodiscard]] static QRect switchRect(const QRect& cell);
    [[nodiscard]] QRect mirrored(const QRect& cell, const QRect& logical) const;
    void paintFolder(QPainter& painter, const QRect& cell) const;
    void paintText(QPainter& painter, const QRect& rect, const QFont& font, Tint tint, const QString& text,
                   Qt::TextElideMode elision) const;

    const QWidget& widget_;
    SyncRuleRow row_;
    QFont titleFont_;
    QFont captionFont_;
};

// The titles of the columns over a line.
class SyncRuleHeader final : public QHeaderView {
    Q_OBJECT

public:
    explicit SyncRuleHeader(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void paintSection(QPainter* painter, const QRect& rect, int section) const override;
};

// As high as the rows of the other lists.
class SyncRuleRowHeight final : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

// Gives the columns of a header with a model their widths.
void arrangeColumns(QHeaderView& header);

}  // namespace tovri
