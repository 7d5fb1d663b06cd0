#include "widgets/window/WindowMemory.h"

#include <QEvent>
#include <QHeaderView>
#include <QSplitter>

#include "widgets/parts/details/DetailsSetting.h"

namespace tovri {
namespace {

constexpr const char* geometryKey = "windowGeometry";
constexpr const char* partsKey = "windowParts";
constexpr const char* columnsKey = "columns.";
constexpr const char* showsDetailsKey = "showsDetails";
constexpr const char* detailsWidthKey = "detailsWidth";

QByteArray stored(UserDefaults& defaults, const std::string& key) {
    return QByteArray::fromStdString(defaults.data(key).value_or(""));
}

}  // namespace

// What cannot be read changes nothing.
WindowMemory::WindowMemory(UserDefaults& defaults, QWidget& window, QSplitter& parts)
    : defaults_(defaults), window_(window), parts_(parts) {
    window_.restoreGeometry(stored(defaults_, geometryKey));
    parts_.restoreState(stored(defaults_, partsKey));
    window_.installEventFilter(this);
}

void WindowMemory::keep(QHeaderView& columns, const std::string& name) {
    columns.restoreState(stored(defaults_, columnsKey + name));
    columns_[name] = &columns;
}

void WindowMemory::keep(DetailsSetting& details) {
    details.setShown(defaults_.boolean(showsDetailsKey).value_or(details.isShown()));
    details.setWidth(static_cast<int>(defaults_.integer(detailsWidthKey).value_or(details.width())));
    details_ = &details;
}

bool WindowMemory::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &window_ && event->type() == QEvent::Hide && !event->spontaneous()) save();
    return QObject::eventFilter(watched, event);
}

void WindowMemory::save() {
    const auto write = [this](const std::string& key, const QByteArray& bytes) {
        if (bytes != stored(defaults_, key)) defaults_.setData(key, bytes.toStdString());
    };
    write(geometryKey, window_.saveGeometry());
    write(partsKey, parts_.saveState());
    for (const auto& [name, columns] : columns_)
        if (columns) write(columnsKey + name, columns->saveState());
    saveDetails();
}

void WindowMemory::saveDetails() {
    if (details_ == nullptr) return;
    if (defaults_.boolean(showsDetailsKey).value_or(false) != details_->isShown())
        defaults_.setBoolean(showsDetailsKey, details_->isShown());
    if (defaults_.integer(detailsWidthKey).value_or(DetailsSetting::usualWidth) != details_->width())
        defaults_.setInteger(detailsWidthKey, details_->width());
}

}  // namespace tovri
