#pragma once

#include <QPersistentModelIndex>
#include <QPixmap>
#include <functional>
#include <optional>
#include <vector>

#include "widgets/rows/RowPainter.h"
#include "widgets/rows/RowSource.h"

namespace tovri {

// The rows in sight of a list with sections, as they were drawn last, and pictures of those that have left their
// section since, which fade where they stood, from their first drawing on. Owned by the list; it keeps no more than has
// been in sight within one fade. All rectangles are in the list's content, times in milliseconds.
class RowFade {
public:
    static constexpr qint64 duration = 120;

    struct Place {
        RowKey section;
        int top = 0;
    };

    struct DrawnRow {
        QPersistentModelIndex index;
        RowKey key;
        RowKey section;
        QRect rect;
        RowContent content;
        RowLook look;
    };

    // A row that fades and is drawn in its section again fades no more.
    void noteDrawn(DrawnRow row);

    // What is drawn anew there is noted again; what is out of sight is not of interest.
    void forgetDrawn(const QRect& area, const QRect& sight);

    // After rows have gone or moved. What is in sight stands lower by `shift` than before.
    void follow(const std::function<Place(int)>& placeOf, int shift, const QWidget& list);

    // Ends what has faded; false when nothing fades any more.
    bool advance(qint64 now);

    [[nodiscard]] bool isRunning() const { return !fading_.empty(); }

    // What is to be drawn anew while it runs.
    [[nodiscard]] QRegion region() const;

    void paint(QPainter& painter, qint64 now);

    void clear();

private:
    struct FadingRow {
        RowKey key;
        RowKey section;
        QRect rect;
        QPixmap picture;
        std::optional<qint64> begin = {};  // none: has not been seen yet
    };

    std::vector<DrawnRow> drawn_;
    std::vector<FadingRow> fading_;
};

}  // namespace tovri
