#pragma once

#include <QScrollArea>

class QLabel;

namespace tovri {

class TextLabel;

// A wrapped text that is as high as it needs to be, and can be scrolled where it has less room.
class ScrolledText final : public QScrollArea {
    Q_OBJECT

public:
    explicit ScrolledText(QWidget* parent = nullptr);

    void setText(const QString& text);

    // For its look.
    [[nodiscard]] QLabel& label() const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    TextLabel* label_;
};

}  // namespace tovri
