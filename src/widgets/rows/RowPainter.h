#pragma once

#include <QFont>
#include <QPalette>
#include <QRect>

#include "widgets/rows/RowContent.h"
#include "widgets/rows/RowGeometry.h"

class QPainter;
class QWidget;

namespace tovri {

// What the moment adds to a row's content.
struct RowLook {
    static constexpr int noButton = -1;

    bool isSelected = false;
    bool isHovered = false;
    bool isAlternate = false;
    bool isViewFocused = false;  // a selection elsewhere is paler
    bool hasRing = false;        // keyboard focus
    bool isDropTarget = false;
    int hoveredButton = noButton;
    int pressedButton = noButton;
    int focusedButton = noButton;
    double breath = 1;  // opacity of a symbol that pulses
    double turn = 0;    // 0 to 1, of a sign that turns and a bar of unknown length
};

// Draws rows; shared by the list view and by delegates of other views. Right-to-left widgets get mirrored rows.
class RowPainter {
public:
    explicit RowPainter(const QWidget& widget);

    void paint(QPainter& painter, const QRect& row, const RowContent& content, const RowLook& look) const;

    [[nodiscard]] RowHeights heights() const;

    [[nodiscard]] QRect symbolRect(const QRect& row, const RowContent& content) const;
    [[nodiscard]] QRect buttonRect(const QRect& row, const RowContent& content, int button) const;

    // The sign of a row that can be opened.
    [[nodiscard]] QRect openingRect(const QRect& row, const RowContent& content) const;

    // The button at that point, or noButton.
    [[nodiscard]] int buttonAt(const QRect& row, const RowContent& content, const QPoint& point) const;

    // Title and caption, each on its line, as far as the row has no room for them; empty when it has.
    [[nodiscard]] QString cutTexts(const QRect& row, const RowContent& content) const;

    // The parts that delegates use alone.
    void paintBackground(QPainter& painter, const QRect& row, const RowLook& look) const;
    void paintCaption(QPainter& painter, const QRect& rect, const RowContent& content) const;
    void paintProgress(QPainter& painter, const QRect& rect, const RowProgress& progress, double turn) const;

private:
    [[nodiscard]] QRect mirrored(const QRect& row, const QRect& logical) const;
    [[nodiscard]] QRect textRect(const QRect& row, const RowContent& content) const;
    void paintHeader(QPainter& painter, const QRect& row, const RowContent& content) const;
    void paintOpening(QPainter& painter, const QRect& row, const RowContent& content) const;
    void paintSymbolOf(QPainter& painter, const QRect& row, const RowContent& content, const RowLook& look) const;
    void paintTexts(QPainter& painter, const QRect& row, const RowContent& content, const RowLook& look) const;
    void paintButtons(QPainter& painter, const QRect& row, const RowContent& content, const RowLook& look) const;
    void drawLine(QPainter& painter, const QRect& rect, const QFont& font, const QColor& ink,
                  const QString& text) const;

    Qt::LayoutDirection direction_;
    QPalette palette_;
    QFont titleFont_;
    QFont captionFont_;
    QFont headerFont_;
};

// A circle that is open at one place, where `turn` (0 to 1) says.
void paintTurningSign(QPainter& painter, const QRect& rect, const QColor& color, double turn);

}  // namespace tovri
