#pragma once

#include <QGenericPlugin>

// Qt loads it into any of its programs (QT_QPA_GENERIC_PLUGINS=first-frame). It says on standard error when the first
// window has been painted and handed to the display, as a line of seconds on the monotonic clock.
class FirstFrame final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "FirstFrame.json")

public:
    QObject* create(const QString& name, const QString& specification) override;
};
