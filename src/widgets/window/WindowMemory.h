#pragma once

#include <QObject>
#include <QPointer>
#include <map>
#include <string>

#include "platform/UserDefaults.h"

class QHeaderView;
class QSplitter;
class QWidget;

namespace tovri {

class DetailsSetting;

// Keeps where the window was and how the user has divided it: its size and, where the display system allows, its place,
// the width of the sidebar, the widths of columns. Written when the window goes, read when it is made.
class WindowMemory final : public QObject {
    Q_OBJECT

public:
    // All outlive the memory.
    WindowMemory(UserDefaults& defaults, QWidget& window, QSplitter& parts);

    // Also whether the details are shown, and how wide; the setting outlives the memory.
    void keep(DetailsSetting& details);

    // The widths of these columns too, under this name, from now on.
    void keep(QHeaderView& columns, const std::string& name);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void save();
    void saveDetails();

    UserDefaults& defaults_;
    QWidget& window_;
    QSplitter& parts_;
    DetailsSetting* details_ = nullptr;
    std::map<std::string, QPointer<QHeaderView>> columns_;
};

}  // namespace tovri
