#pragma once

#include <QStyledItemDelegate>

namespace tovri {

// Draws a row of the sidebar: symbol, title, and a badge at its end; the selected one on a rounded area.
class SectionPainter final : public QStyledItemDelegate {
    Q_OBJECT

public:
    enum Role { symbolRole = Qt::UserRole, badgeRole };

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace tovri
