#include "widgets/parts/forms/Form.h"

#include <QApplication>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <algorithm>

#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

// Pale, in a font that derives from the application's.
class PaleLabel final : public TextLabel {
public:
    PaleLabel(const QString& text, QFont (*derive)(const QFont&)) : TextLabel(text), derive_(derive) { dress(); }

protected:
    void changeEvent(QEvent* event) override {
        TextLabel::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) dress();
    }

    // A form gives a text of several lines the height of fewer.
    void resizeEvent(QResizeEvent* event) override {
        TextLabel::resizeEvent(event);
        if (wordWrap()) setMinimumHeight(heightForWidth(width()));
    }

private:
    void dress() {
        setFont(derive_(QApplication::font()));
        setTint(*this, Tint::secondary);
    }

    QFont (*derive_)(const QFont&);
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
    auto* label = makeLabel(title);
    label->setTextFormat(Qt::PlainText);
    label->setMinimumHeight(field->sizeHint().height());
    label->setBuddy(field);
    form.addRow(label, field);
    if (field->accessibleName().isEmpty()) field->setAccessibleName(title);
}

void addSection(QFormLayout& form, const QString& title) {
    auto* label = new PaleLabel(title, sectionHeaderFont);
    label->setContentsMargins(0, form.rowCount() == 0 ? measures::gap : measures::sheetMargin, 0, 0);
    form.addRow(label);
}

void addNote(QFormLayout& form, const QString& text) {
    auto* note = new PaleLabel(text, captionFont);
    note->setWordWrap(true);
    note->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum);
    form.addRow(nullptr, note);
}

}  // namespace tovri
