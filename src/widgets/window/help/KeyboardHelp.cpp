#include "widgets/window/help/KeyboardHelp.h"

#include <QAction>
#include <QFormLayout>
#include <QMenu>
#include <QMenuBar>
#include <QScrollArea>
#include <QVBoxLayout>

#include "widgets/parts/forms/Form.h"
#include "widgets/parts/text/TextLabel.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

constexpr int roomWidth = 360;

QString plainTitle(const QString& title) {
    QString plain = title;
    return plain.remove(u'&').remove(u'…');
}

QString shortcutsOf(const QAction& action) {
    QStringList texts;
    for (const QKeySequence& shortcut : action.shortcuts()) texts << shortcut.toString(QKeySequence::NativeText);
    return texts.join(QStringLiteral(", "));
}

}  // namespace

KeyboardHelp::KeyboardHelp(const QMenuBar& menus, QWidget* parent) : Sheet(tr("Keyboard Shortcuts"), parent) {
    setAttribute(Qt::WA_DeleteOnClose);
    auto* content = new QWidget;
    QFormLayout* form = makeForm();
    content->setLayout(form);
    for (const QAction* menu : menus.actions()) {
        addSection(*form, plainTitle(menu->text()));
        for (const QAction* action : menu->menu()->actions()) {
            if (action->shortcuts().isEmpty()) continue;
            auto* keys = new TextLabel(shortcutsOf(*action));
            keys->setFont(tabularFont(keys->font()));
            form->addRow(new TextLabel(plainTitle(action->text())), keys);
        }
    }
    auto* room = new QScrollArea;
    room->setFrameShape(QFrame::NoFrame);
    room->setWidgetResizable(true);
    room->setWidget(content);
    room->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    room->setMinimumWidth(roomWidth);
    room->setMinimumHeight(content->sizeHint().height() / 2);
    body()->addWidget(room, 1);
    addConfirmButton(tr("Close"));
    connect(this, &Sheet::confirmed, this, [this] { done(0); });
    connect(this, &Sheet::cancelled, this, [this] { done(0); });
}

}  // namespace tovri
