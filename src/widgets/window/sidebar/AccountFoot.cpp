#include "widgets/window/sidebar/AccountFoot.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"
#include "widgets/window/ElidedLabel.h"

namespace tovri {

AccountFoot::AccountFoot(QWidget* parent) : SidebarPanel(parent) {
    hide();
}

AccountFoot::Row AccountFoot::addRow() {
    const Row row{new QWidget, makeLabel(), new ElidedLabel(Qt::ElideMiddle, Qt::AlignLeft)};
    auto* line = new QHBoxLayout(row.whole);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(lineGap);
    line->addWidget(row.symbol);
    line->addWidget(row.text, 1);
    lines()->addWidget(row.whole);
    return row;
}

void AccountFoot::show(const std::vector<SidebarFoot::Line>& lines) {
    shown_ = lines;
    while (rows_.size() < lines.size()) rows_.push_back(addRow());
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        rows_[i].whole->setVisible(i < lines.size());
        if (i >= lines.size()) continue;
        rows_[i].text->setText(textOf(lines[i].text));
        setPlainToolTip(*rows_[i].text, textOf(lines[i].help));
        rows_[i].text->setAccessibleName(textOf(lines[i].text));
        rows_[i].text->setAccessibleDescription(textOf(lines[i].help));
    }
    dress();
    setVisible(!lines.empty());
}

void AccountFoot::dress() {
    const QSize size(measures::smallSymbol, measures::smallSymbol);
    const QPalette palette = QApplication::palette();
    for (std::size_t i = 0; i < shown_.size(); ++i) {
        const QIcon icon = symbolIcon(shown_[i].symbol, Tint::secondary);
        rows_[i].symbol->setPixmap(icon.pixmap(size, devicePixelRatioF()));
        rows_[i].text->setFont(tabularFont(captionFont(font())));
        QPalette ink;
        ink.setColor(QPalette::WindowText, color(Tint::secondary, palette));
        rows_[i].text->setPalette(ink);
    }
}

}  // namespace tovri
