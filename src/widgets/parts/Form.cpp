#include "widgets/parts/Form.h"

#include <QApplication>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <algorithm>

#include "widgets/parts/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

class Note final : public QLabel {
public:
    explicit Note(const QString& text) : QLabel(text) {
        setTextFormat(Qt::PlainText);
        setWordWrap(true);
        dress();
    }

protected:
    void changeEvent(QEvent* event) override {
        QLabel::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) dress();
    }

private:
    void dress() {
        setFont(captionFont(QApplication::font()));
        setTint(*this, Tint::secondary);
    }
};

}  // namespace

QFormLayout* makeForm() {
    auto* form = new QFormLayout;
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(measures::margin);
    form->setVerticalSpacing(measures::spacing);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    return form;
}

// As high as the field, so that both stand on one line.
void addField(QFormLayout& form, const QString& title, QWidget* field) {
    auto* label = new QLabel(title);
    label->setTextFormat(Qt::PlainText);
    label->setMinimumHeight(field->sizeHint().height());
    label->setBuddy(field);
    form.addRow(label, field);
    if (field->accessibleName().isEmpty()) field->setAccessibleName(title);
}

void addSection(QFormLayout& form, const QString& title) {
    auto* label = new QLabel(title);
    label->setFont(semiboldFont(label->font()));
    const int above = form.rowCount() == 0 ? 0 : measures::sectionGap - measures::spacing;
    label->setContentsMargins(0, above, 0, 0);
    form.addRow(label);
}

void addNote(QFormLayout& form, const QString& text) {
    form.addRow(nullptr, new Note(text));
}

}  // namespace tovri
