#pragma once

#include <QLabel>

namespace tovri {

// Plain text that begins where the lines of the layout begin, in whatever script it is written.
class TextLabel : public QLabel {
    Q_OBJECT

public:
    explicit TextLabel(const QString& text = {}, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void align();
};

}  // namespace tovri
