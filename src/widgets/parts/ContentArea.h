#pragma once

#include <QWidget>
#include <optional>

#include "screens/Placeholder.h"

class QStackedLayout;

namespace tovri {

class PlaceholderView;

// The content of a screen, or the placeholder that stands in for it. When the content comes back, the keyboard focus
// that it had comes back with it.
class ContentArea final : public QWidget {
    Q_OBJECT

public:
    // `content` becomes its child; `focused` is what takes the keyboard focus of it.
    ContentArea(QWidget* content, QWidget* focused);

    explicit ContentArea(QWidget* content) : ContentArea(content, content) {}

    // None: the content.
    void show(const std::optional<Placeholder>& placeholder);
    using QWidget::show;

    // The focus goes to the content, as soon as that is on view.
    void takeFocus();

signals:
    void buttonPressed();  // the placeholder's

private:
    [[nodiscard]] bool holdsFocus() const;

    QWidget* content_;
    QWidget* focused_;
    PlaceholderView* placeholder_;
    QStackedLayout* stack_;
    std::optional<Placeholder> shown_;
};

}  // namespace tovri
