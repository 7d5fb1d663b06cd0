#include "widgets/window/settings/SettingsForm.h"

#include <QEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>

#include "widgets/parts/forms/Switch.h"
#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"

namespace tovri {

SettingsForm::SettingsForm(QWidget* parent) : QWidget(parent), column_(new QVBoxLayout) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(measures::sheetMargin, measures::sheetMargin, measures::sheetMargin,
                              measures::sheetMargin);
    outer->addLayout(column_);
    outer->addStretch();
    column_->setSpacing(measures::spacing);
}

void SettingsForm::addSection(const QString& title) {
    if (section_) column_->addSpacing(measures::sheetMargin);
    if (!title.isEmpty()) {
        auto* header = makeLabel(title);
        header->setContentsMargins(measures::gap, 0, measures::gap, 0);
        titles_.append(header);
        column_->addWidget(header, 0, Qt::AlignLeading);
    }
    auto* card = new QGroupBox;
    card->setAccessibleName(title);
    section_ = new QVBoxLayout(card);
    section_->setContentsMargins(measures::margin - switchRing, measures::spacing, measures::margin - switchRing,
                                 measures::spacing);
    section_->setSpacing(measures::spacing);
    column_->addWidget(card);
    dress();
}

// Switches, not the rings around them, end where the other controls do.
void SettingsForm::addRow(const QString& label, QWidget* control) {
    auto* row = new QWidget;
    row->setMinimumHeight(measures::headerHeight);
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(measures::sheetMargin);
    auto* text = makeLabel(label);
    text->setBuddy(control);
    line->addSpacing(switchRing);
    line->addWidget(text);
    line->addStretch(1);
    line->addWidget(control);
    if (qobject_cast<const Switch*>(control) == nullptr) line->addSpacing(switchRing);
    if (control->accessibleName().isEmpty()) control->setAccessibleName(label);
    section_->addWidget(row);
}

void SettingsForm::addLine(QWidget* content, Qt::Alignment alignment) {
    auto* line = new QHBoxLayout;
    line->setContentsMargins(switchRing, 0, switchRing, 0);
    line->addWidget(content, 0, alignment);
    section_->addLayout(line);
}

QLabel* SettingsForm::addNote() {
    auto* note = new TextLabel;
    note->setContentsMargins(switchRing, 0, switchRing, 0);
    note->setWordWrap(true);
    notes_.append(note);
    section_->addWidget(note);
    dress();
    return note;
}

void SettingsForm::dress() {
    for (QLabel* title : titles_) {
        title->setFont(sectionHeaderFont(font()));
        setTint(*title, Tint::secondary);
    }
    for (QLabel* note : notes_) {
        note->setFont(captionFont(font()));
        setTint(*note, Tint::secondary);
    }
}

void SettingsForm::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

}  // namespace tovri
