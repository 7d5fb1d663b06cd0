#include "widgets/parts/details/DetailsPanel.h"

#include <QToolButton>
#include <QVBoxLayout>

#include "widgets/parts/details/DetailsText.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {

DetailsPanel::DetailsPanel(QWidget* parent) : QWidget(parent), text_(new DetailsText), links_(new QVBoxLayout) {
    setAccessibleName(tr("Details"));
    text_->setAccessibleName(tr("Details"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(text_, 1);
    column->addLayout(links_);
    links_->setContentsMargins(measures::gap, measures::gap, measures::gap, measures::spacing);
    links_->setSpacing(measures::gap);
}

void DetailsPanel::show(const Details& details) {
    text_->show(details);
    showLinks(details.links);
}

void DetailsPanel::showLinks(const std::vector<Details::Link>& links) {
    if (links == shownLinks_) return;
    shownLinks_ = links;
    while (QLayoutItem* old = links_->takeAt(0)) {
        old->widget()->deleteLater();
        old->widget()->hide();
        delete old;
    }
    QWidget* before = text_;
    for (const Details::Link& link : links) {
        QWidget* button = makeLink(link);
        links_->addWidget(button, 0, Qt::AlignLeading);
        setTabOrder(before, button);
        before = button;
    }
}

QWidget* DetailsPanel::makeLink(const Details::Link& link) {
    auto* button = new QToolButton;
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setMinimumHeight(measures::inlineButton);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setIcon(symbolIcon(link.symbol));
    button->setText(textOf(link.title));
    button->setAccessibleName(textOf(link.title));
    connect(button, &QToolButton::clicked, this, [this, action = link.action] { emit pressed(action); });
    return button;
}

}  // namespace tovri
