#pragma once

#include "widgets/parts/text/TextLabel.h"

namespace tovri {

// A small pale line below a list: what it holds. Takes no room while there is nothing to say.
class FootLine final : public TextLabel {
    Q_OBJECT

public:
    explicit FootLine(QWidget* parent = nullptr);

    void show(const QString& text);

protected:
    void changeEvent(QEvent* event) override;

private:
    void dress();
};

}  // namespace tovri
