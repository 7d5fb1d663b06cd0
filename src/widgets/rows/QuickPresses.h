#pragma once

#include <QGuiApplication>
#include <QMouseEvent>
#include <QStyleHints>
#include <optional>

namespace tovri {

// The presses on things that may move under the pointer. One that follows as quickly, and as near, as the second of a
// double click is meant for what the first one found, also where the first one was somewhere else. `Target` says what a
// press finds and stays true to it when it moves.
template <class Target>
class QuickPresses {
public:
    // Takes note of the press; whether it comes quickly and finds something else than the first one did. Then it is to
    // have no effect.
    [[nodiscard]] bool isAstray(const QMouseEvent& press, Target found) {
        const bool isSecond = press.type() == QEvent::MouseButtonDblClick;
        const bool follows = isSecond || (last_ && isNear(press));
        const bool isMeant = !follows || (last_ && last_->target == found);
        if (!follows) last_ = Press{.target = std::move(found)};
        if (!last_) return true;
        last_->button = press.button();
        last_->place = press.globalPosition();
        last_->time = press.timestamp();
        return !isMeant;
    }

private:
    struct Press {
        Target target;
        Qt::MouseButton button = Qt::NoButton;
        QPointF place = {};
        quint64 time = 0;  // milliseconds
    };

    [[nodiscard]] bool isNear(const QMouseEvent& press) const {
        const QStyleHints& hints = *QGuiApplication::styleHints();
        const QPointF way = press.globalPosition() - last_->place;
        const qreal reach = hints.mouseDoubleClickDistance();
        return press.button() == last_->button && std::abs(way.x()) <= reach && std::abs(way.y()) <= reach &&
               press.timestamp() < last_->time + static_cast<quint64>(hints.mouseDoubleClickInterval());
    }

    std::optional<Press> last_;  // with the target of the first of those that follow one another
};

}  // namespace tovri
