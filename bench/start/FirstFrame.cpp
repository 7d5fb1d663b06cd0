// A plug-in that Qt loads into any of its programs (QT_QPA_GENERIC_PLUGINS=first-frame): says on standard error when
// the first window has been painted and handed to the display, as a line of seconds on the monotonic clock.
#include <QCoreApplication>
#include <QEvent>
#include <QGenericPlugin>
#include <QTimer>
#include <QWidget>
#include <chrono>
#include <cstdio>

namespace {

class FirstFrameWatch final : public QObject {
public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* widget = qobject_cast<QWidget*>(watched);
        if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow()) {
            QCoreApplication::instance()->removeEventFilter(this);
            QTimer::singleShot(0, this, [] {  // the turn of the loop that paints has ended
                const std::chrono::duration<double> now = std::chrono::steady_clock::now().time_since_epoch();
                std::fprintf(stderr, "first frame %.6f\n", now.count());
            });
        }
        return false;
    }
};

class FirstFramePlugin final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "FirstFrame.json")

public:
    QObject* create(const QString& /*name*/, const QString& /*specification*/) override {
        auto* watch = new FirstFrameWatch;
        QCoreApplication::instance()->installEventFilter(watch);
        return watch;
    }
};

}  // namespace

#include "FirstFrame.moc"
