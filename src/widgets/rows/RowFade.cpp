#include "widgets/rows/RowFade.h"

#include <QPainter>
#include <QRegion>
#include <QWidget>
#include <algorithm>
#include <utility>

#include "widgets/theme/Theme.h"

namespace tovri {
namespace {

QPixmap pictureOf(const RowFade::DrawnRow& row, const QWidget& list) {
    QPixmap picture(row.rect.size() * list.devicePixelRatio());
    picture.setDevicePixelRatio(list.devicePixelRatio());
    QPainter painter(&picture);
    RowPainter(list).paint(painter, {QPoint(), row.rect.size()}, row.content, row.look);
    return picture;
}

}  // namespace

void RowFade::noteDrawn(DrawnRow row) {
    std::erase_if(fading_, [&](const FadingRow& one) { return one.key == row.key && one.section == row.section; });
    drawn_.push_back(std::move(row));
}

void RowFade::forgetDrawn(const QRect& area, const QRect& sight) {
    std::erase_if(drawn_,
                  [&](const DrawnRow& row) { return row.rect.intersects(area) || !row.rect.intersects(sight); });
}

void RowFade::follow(const std::function<Place(int)>& placeOf, int shift, const QWidget& list) {
    for (FadingRow& row : fading_) row.rect.translate(0, shift);
    std::vector<DrawnRow> staying;
    for (DrawnRow& row : drawn_) {
        const Place place = row.index.isValid() ? placeOf(row.index.row()) : Place();
        if (row.index.isValid() && place.section == row.section) {
            row.rect.moveTop(place.top);
            staying.push_back(std::move(row));
        } else if (isMotionWanted()) {
            fading_.push_back({row.key, row.section, row.rect.translated(0, shift), pictureOf(row, list)});
        }
    }
    drawn_ = std::move(staying);
}

bool RowFade::advance(qint64 now) {
    std::erase_if(fading_, [&](const FadingRow& row) { return row.begin && now - *row.begin >= duration; });
    return isRunning();
}

QRegion RowFade::region() const {
    QRegion region;
    for (const FadingRow& row : fading_) region += row.rect;
    return region;
}

void RowFade::paint(QPainter& painter, qint64 now) {
    for (FadingRow& row : fading_) {
        if (!row.begin) row.begin = now;
        painter.setOpacity(std::max(0.0, 1 - static_cast<double>(now - *row.begin) / duration));
        painter.drawPixmap(row.rect.topLeft(), row.picture);
    }
    painter.setOpacity(1);
}

void RowFade::clear() {
    drawn_.clear();
    fading_.clear();
}

}  // namespace tovri
