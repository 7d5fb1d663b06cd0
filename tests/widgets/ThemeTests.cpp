#include <QApplication>
#include <QImage>
#include <QPixmap>

#include <gtest/gtest.h>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Palettes.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

// What screens name.
constexpr std::string_view named[] = {
    "arrow.clockwise",
    "arrow.down",
    "arrow.down.circle",
    "arrow.down.circle.fill",
    "arrow.right",
    "arrow.triangle.2.circlepath",
    "arrow.up",
    "arrow.up.arrow.down",
    "arrow.up.arrow.down.circle",
    "arrow.up.circle",
    "arrow.up.circle.fill",
    "arrow.up.to.line",
    "checkmark.circle.fill",
    "chevron.right",
    "clock",
    "doc",
    "doc.richtext",
    "doc.text",
    "doc.zipper",
    "dot.radiowaves.up.forward",
    "exclamationmark.triangle",
    "exclamationmark.triangle.fill",
    "film",
    "folder",
    "folder.fill",
    "forward.circle.fill",
    "gear",
    "gearshape.2",
    "magnifyingglass",
    "minus.circle.fill",
    "music.note",
    "pause.circle.fill",
    "pause.fill",
    "person.circle",
    "photo",
    "play.fill",
    "plus",
    "questionmark.circle",
    "sidebar.left",
    "speedometer",
    "trash",
    "trash.slash.fill",
    "xmark",
    "xmark.circle",
    "xmark.circle.fill",
};

// How many pixels the drawing covers, and whether all of them have the colour that was asked for.
struct Ink {
    int pixels = 0;
    bool isOfOneColor = true;
};

Ink inkOf(const QImage& picture, const QColor& color) {
    Ink ink;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor pixel = picture.pixelColor(x, y);
            if (pixel.alpha() == 0) continue;
            ++ink.pixels;
            if (pixel.alpha() == 255 && pixel.rgb() != color.rgb()) ink.isOfOneColor = false;
        }
    }
    return ink;
}

class Schemes : public testing::TestWithParam<bool> {
protected:
    void SetUp() override { QApplication::setPalette(GetParam() ? darkPalette() : lightPalette()); }

    void TearDown() override { QApplication::setPalette(lightPalette()); }
};

INSTANTIATE_TEST_SUITE_P(lightAndDark, Schemes, testing::Bool());

TEST_P(Schemes, haveEverySymbolInTheColourOfItsRole) {
    const QColor failure = color(Tint::failure, QApplication::palette());
    for (const std::string_view name : named) EXPECT_TRUE(isSymbol(name)) << name;
    for (const std::string_view name : symbolNames()) {
        for (const double scale : {1.0, 2.0}) {
            SCOPED_TRACE(name);
            const QPixmap drawn = symbolIcon(name, Tint::failure).pixmap(QSize(22, 22), scale);
            EXPECT_EQ(drawn.size(), QSize(22, 22) * scale);
            const Ink ink = inkOf(drawn.toImage(), failure);
            EXPECT_GT(ink.pixels, 20);
            EXPECT_TRUE(ink.isOfOneColor);
        }
    }
}

TEST_P(Schemes, keepTextsReadable) {
    const QPalette palette = QApplication::palette();
    EXPECT_EQ(isDark(palette), GetParam());
    for (const Tint tint : {Tint::primary, Tint::secondary, Tint::success, Tint::attention, Tint::failure})
        for (const auto role : {QPalette::Base, QPalette::AlternateBase})
            EXPECT_GE(contrast(color(tint, palette), palette.color(role)), 4.5) << static_cast<int>(tint);
    EXPECT_GE(contrast(colorOn(color(Tint::failure, palette)), color(Tint::failure, palette)), 3.5);
}

TEST(Colors, liftSecondaryTextOfAPalePaletteUntilItCanBeRead) {
    QPalette pale = lightPalette();
    pale.setColor(QPalette::Text, QColor(0x66, 0x66, 0x66));
    EXPECT_GE(contrast(color(Tint::secondary, pale), pale.color(QPalette::Base)), 4.5);
}

// Outlines have 16 pixels of 22: their strokes must fall on whole pixels, or they look washed out.
TEST(Symbols, areSharpOnTheirGrid) {
    for (const std::string_view name : {"folder", "pause.fill", "sidebar.left", "minus.circle.fill"}) {
        const QImage drawn = symbolIcon(name).pixmap(QSize(22, 22), 2.0).toImage();
        int full = 0;
        int partly = 0;
        for (int y = 0; y < drawn.height(); ++y)
            for (int x = 0; x < drawn.width(); ++x) {
                const int alpha = qAlpha(drawn.pixel(x, y));
                full += alpha > 230 ? 1 : 0;
                partly += alpha > 20 && alpha <= 230 ? 1 : 0;
            }
        EXPECT_GT(full, 3 * partly) << name;
    }
}

// Desktops scale by 1.5 as well as by 2.
TEST(Symbols, keepTheirDrawingAtEveryScale) {
    const auto share = [](std::string_view name, double scale) {
        const QImage drawn = symbolIcon(name).pixmap(QSize(22, 22), scale).toImage();
        double ink = 0;
        for (int y = 0; y < drawn.height(); ++y)
            for (int x = 0; x < drawn.width(); ++x) ink += qAlpha(drawn.pixel(x, y)) / 255.0;
        return ink / (drawn.width() * drawn.height());
    };
    for (const std::string_view name : {"trash", "plus", "desktopcomputer", "clock", "xmark"})
        for (const double scale : {1.25, 1.5, 1.75, 2.0})
            EXPECT_NEAR(share(name, scale), share(name, 1), 0.15 * share(name, 1)) << name << " at " << scale;
}

TEST(Symbols, knowNothingOfOtherNames) {
    EXPECT_FALSE(isSymbol("arrow"));
    EXPECT_TRUE(symbolIcon("").isNull());
    EXPECT_FALSE(applicationIcon().pixmap(128, 128).isNull());
}

}  // namespace
}  // namespace tovri
