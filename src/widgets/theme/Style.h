#pragma once

#include <QProxyStyle>

class QApplication;
class QWidget;

namespace tovri {

// What a button says about its action beside its text.
enum class Emphasis { none, suggested, destructive };

// Fills the button with the accent colour, or the colour of failure.
void setEmphasis(QWidget& button, Emphasis emphasis);

// Flat areas, round corners and thin lines over Qt's Fusion, in the palette's colours. A platform's own style is left
// as it is: this one stands in only where Fusion would be used.
class Style final : public QProxyStyle {
    Q_OBJECT

public:
    Style();

    void polish(QWidget* widget) override;
    using QProxyStyle::polish;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    void drawItemText(QPainter* painter, const QRect& rect, int flags, const QPalette& palette, bool isEnabled,
                      const QString& text, QPalette::ColorRole role) const override;
    [[nodiscard]] QPalette standardPalette() const override;
    [[nodiscard]] QIcon standardIcon(StandardPixmap icon, const QStyleOption* option,
                                     const QWidget* widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                         const QWidget* widget) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* answer) const override;
    [[nodiscard]] QRect subElementRect(SubElement element, const QStyleOption* option,
                                       const QWidget* widget) const override;
    [[nodiscard]] QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                       const QWidget* widget) const override;
};

void useOwnStyleOverFusion(QApplication& application);

}  // namespace tovri
