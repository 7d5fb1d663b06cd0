#include "bench/start/FirstFrame.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTextStream>
#include <QTimer>
#include <QWidget>
#include <chrono>

namespace {

class Watch final : public QObject {
public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* widget = qobject_cast<QWidget*>(watched);
        if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow()) {
            QCoreApplication::instance()->removeEventFilter(this);
            QTimer::singleShot(0, this, [] {  // the turn of the loop that paints has ended
                const std::chrono::duration<double> now = std::chrono::steady_clock::now().time_since_epoch();
                QTextStream(stderr) << "first frame " << QString::number(now.count(), 'f') << '\n';
            });
        }
        return false;
    }
};

}  // namespace

QObject* FirstFrame::create(const QString& /*name*/, const QString& /*specification*/) {
    auto* watch = new Watch;
    QCoreApplication::instance()->installEventFilter(watch);
    return watch;
}
