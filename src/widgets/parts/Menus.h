#pragma once

#include <QMenu>
#include <functional>
#include <vector>

#include "screens/MenuItem.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Symbols.h"

namespace tovri {

// Adds a screen's menu lines to a menu; what is chosen goes to `perform`.
template <class Action>
void addItems(QMenu& menu, const std::vector<MenuItem<Action>>& items, const std::function<void(Action)>& perform) {
    for (const MenuItem<Action>& item : items) {
        if (item.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        QAction* line = menu.addAction(titleOf(item.title));
        if (!item.symbol.empty())
            line->setIcon(symbolIcon(item.symbol, item.isDestructive ? Tint::failure : Tint::primary));
        line->setEnabled(item.isEnabled);
        line->setCheckable(item.isChecked.has_value());
        line->setChecked(item.isChecked.value_or(false));
        QObject::connect(line, &QAction::triggered, &menu, [perform, action = *item.action] { perform(action); });
    }
}

// Opens a screen's menu and returns; `parent` outlives what `perform` uses. Nothing opens for a menu without lines.
template <class Action>
void popUpMenu(QWidget& parent, const QPoint& globalPosition, const std::vector<MenuItem<Action>>& items,
               const std::function<void(Action)>& perform) {
    if (items.empty()) return;
    auto* menu = new QMenu(&parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    addItems(*menu, items, perform);
    menu->popup(globalPosition);
}

}  // namespace tovri
