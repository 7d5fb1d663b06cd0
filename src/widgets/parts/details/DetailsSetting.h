#pragma once

#include <QObject>

namespace tovri {

// Whether the details stand beside the rows, and how wide: the same in all sections that have them.
class DetailsSetting final : public QObject {
    Q_OBJECT

public:
    static constexpr int usualWidth = 280;
    static constexpr int leastWidth = 200;
    static constexpr int mostWidth = 480;

    [[nodiscard]] bool isShown() const { return isShown_; }

    void setShown(bool isShown);

    [[nodiscard]] int width() const { return width_; }

    // Any width becomes the nearest one that makes sense.
    void setWidth(int width);

signals:
    void changed();

private:
    bool isShown_ = false;
    int width_ = usualWidth;
};

}  // namespace tovri
