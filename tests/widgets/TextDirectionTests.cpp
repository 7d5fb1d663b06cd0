#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <cstdlib>

#include <gtest/gtest.h>

#include "widgets/parts/bars/SummaryLine.h"
#include "widgets/rows/RowListView.h"

namespace tovri {
namespace {

// What stands out from the ground, cut out of it and coarse: the letters fall on other fractions of a pixel at another
// place.
QImage inkOf(const QImage& picture) {
    const int ground = qGray(picture.pixel(0, 0));
    QImage all(picture.size(), QImage::Format_Grayscale8);
    QRect inked;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int ink = std::abs(qGray(picture.pixel(x, y)) - ground);
            all.scanLine(y)[x] = static_cast<uchar>(ink);
            if (ink > 0) inked |= QRect(x, y, 1, 1);
        }
    }
    return all.copy(inked).scaled(24, 4, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

// How much of the ink is elsewhere; all of it where there is none.
double differenceOf(const QImage& one, const QImage& other) {
    int ink = 0;
    int difference = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            ink += one.constScanLine(y)[x];
            difference += std::abs(one.constScanLine(y)[x] - other.constScanLine(y)[x]);
        }
    }
    return ink == 0 ? 1 : static_cast<double>(difference) / ink;
}

QImage pictureOf(QWidget& widget) {
    widget.resize(300, 40);
    return widget.grab().toImage();
}

QImage rowWith(const QString& title, std::vector<CaptionSegment> caption) {
    const RowListView list;
    const RowPainter painter(list);
    const RowContent content{.symbol = "doc", .title = title, .caption = std::move(caption)};
    QImage picture(400, 44, QImage::Format_RGB32);
    QPainter brush(&picture);
    brush.setLayoutDirection(list.layoutDirection());  // as of one on the list
    painter.paint(brush, picture.rect(), content, {});
    brush.fillRect(painter.symbolRect(picture.rect(), content), list.palette().color(QPalette::Base));
    brush.end();
    return inkOf(picture);
}

QImage summaryWith(const char* text) {
    SummaryLine line;
    line.show({{"", text}});
    const QImage picture = pictureOf(line);
    return inkOf(picture.copy(0, 0, picture.width(), picture.height() - 1));
}

QImage buttonWith(const QString& text) {
    QPushButton button(text);
    const QImage picture = pictureOf(button);
    return inkOf(picture.copy(picture.rect().adjusted(8, 8, -8, -8)));
}

QImage menuWith(const QString& text) {
    QMenu menu;
    menu.addAction(text);
    menu.adjustSize();
    const QImage picture = menu.grab().toImage();
    return inkOf(picture.copy(picture.rect().adjusted(4, 4, -4, -4)));
}

// Each text looks the same in both layouts, whichever way it runs.
TEST(TextDirection, isTheTextsOwnInEveryLayout) {
    const auto drawn = [](Qt::LayoutDirection direction) {
        QApplication::setLayoutDirection(direction);
        std::vector<QImage> pictures = {
            rowWith("01 Aria.flac", {}), rowWith("", {{"1.9 MB / 38.4 MB"}}),
            rowWith("קובץ 7 (a).", {}),  summaryWith("3 active"),
            summaryWith("7 קובץ"),       buttonWith("Choose…"),
            menuWith("Settings…"),
        };
        QApplication::setLayoutDirection(Qt::LeftToRight);
        return pictures;
    };
    const std::vector<QImage> fromLeft = drawn(Qt::LeftToRight);
    const std::vector<QImage> fromRight = drawn(Qt::RightToLeft);
    for (std::size_t i = 0; i < fromLeft.size(); ++i) {
        EXPECT_LT(differenceOf(fromLeft[i], fromRight[i]), 0.5) << i;
    }
}

}  // namespace
}  // namespace tovri
