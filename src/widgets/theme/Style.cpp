#include "widgets/theme/Style.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>
#include <QToolButton>
#include <QWidget>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Palettes.h"

namespace tovri {
namespace {

constexpr const char* emphasisProperty = "tovriEmphasis";
constexpr int scrollBarWidth = 12;
constexpr int controlHeight = 32;
constexpr int menuSign = 16;

Emphasis emphasisOf(const QWidget* widget) {
    return widget == nullptr ? Emphasis::none : static_cast<Emphasis>(widget->property(emphasisProperty).toInt());
}

void paintBox(QPainter& painter, const QRectF& rect, const QColor& fill, const QColor& frame, double width = 1) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(frame.isValid() ? QPen(frame, width) : QPen(Qt::NoPen));
    painter.setBrush(fill.isValid() ? QBrush(fill) : QBrush(Qt::NoBrush));
    const double inset = frame.isValid() ? width / 2 : 0;
    painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), measures::radius - inset,
                            measures::radius - inset);
    painter.restore();
}

QColor wash(const QPalette& palette, double share) {
    QColor over = palette.color(QPalette::WindowText);
    over.setAlphaF(static_cast<float>(share));
    return over;
}

bool has(const QStyleOption& option, QStyle::StateFlag flag) {
    return option.state.testFlag(flag);
}

bool hasKeyboardFocus(const QStyleOption& option) {
    return has(option, QStyle::State_HasFocus) && has(option, QStyle::State_KeyboardFocusChange);
}

QColor fillOf(Emphasis emphasis, const QPalette& palette) {
    if (emphasis == Emphasis::none) return palette.color(QPalette::Button);
    return color(emphasis == Emphasis::suggested ? Tint::accent : Tint::failure, palette);
}

void paintPushButton(const QStyleOption& option, QPainter& painter, const QWidget* widget) {
    const QPalette& palette = option.palette;
    const Emphasis emphasis = emphasisOf(widget);
    const bool isFilled = emphasis != Emphasis::none && has(option, QStyle::State_Enabled);
    QColor fill = isFilled ? fillOf(emphasis, palette) : palette.color(QPalette::Button);
    const QColor ink = isFilled ? colorOn(fill) : palette.color(QPalette::WindowText);
    if (has(option, QStyle::State_Sunken))
        fill = mixed(ink, fill, 0.14);
    else if (has(option, QStyle::State_MouseOver) && has(option, QStyle::State_Enabled))
        fill = mixed(ink, fill, 0.06);
    paintBox(painter, option.rect, fill, isFilled ? QColor() : frameColor(palette));
    if (!hasKeyboardFocus(option)) return;
    const QColor ring = isFilled ? ink : color(Tint::accent, palette);
    paintBox(painter, isFilled ? QRectF(option.rect).adjusted(2, 2, -2, -2) : QRectF(option.rect), QColor(), ring, 2);
}

void paintToolButton(const QStyleOption& option, QPainter& painter) {
    if (has(option, QStyle::State_Enabled)) {
        if (has(option, QStyle::State_Sunken) || has(option, QStyle::State_On))
            paintBox(painter, option.rect, wash(option.palette, 0.12), QColor());
        else if (has(option, QStyle::State_MouseOver))
            paintBox(painter, option.rect, wash(option.palette, 0.07), QColor());
    }
    if (hasKeyboardFocus(option)) paintBox(painter, option.rect, QColor(), color(Tint::accent, option.palette), 2);
}

void paintLineEdit(const QStyleOption& option, QPainter& painter) {
    const bool isFocused = has(option, QStyle::State_HasFocus);
    paintBox(painter, option.rect, option.palette.color(QPalette::Base),
             isFocused ? color(Tint::accent, option.palette) : frameColor(option.palette), isFocused ? 2 : 1);
}

void paintSlider(const QStyleOptionSlider& option, const QRect& handle, QPainter& painter) {
    const bool isHorizontal = option.orientation == Qt::Horizontal;
    const int inset = has(option, QStyle::State_MouseOver) ? 2 : 3;
    QRectF thumb = QRectF(handle).adjusted(isHorizontal ? 2 : inset, isHorizontal ? inset : 2,
                                           isHorizontal ? -2 : -inset, isHorizontal ? -inset : -2);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash(option.palette, has(option, QStyle::State_MouseOver) ? 0.4 : 0.26));
    const double radius = std::min(thumb.width(), thumb.height()) / 2;
    painter.drawRoundedRect(thumb, radius, radius);
    painter.restore();
}

// The value in the accent colour on a pale groove; of unknown length when the range is empty.
void paintProgress(const QStyleOptionProgressBar& option, QPainter& painter) {
    QRectF groove(option.rect);
    groove.setTop(groove.center().y() - measures::progressBar / 2.0);
    groove.setHeight(measures::progressBar);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash(option.palette, 0.14));
    painter.drawRoundedRect(groove, 2, 2);
    const int range = option.maximum - option.minimum;
    const double share = range > 0 ? static_cast<double>(option.progress - option.minimum) / range : 0.3;
    QRectF bar = groove;
    bar.setWidth(groove.width() * std::clamp(share, 0.0, 1.0));
    if (option.direction == Qt::RightToLeft) bar.moveRight(groove.right());
    painter.setBrush(color(Tint::accent, option.palette));
    if (bar.width() > 0) painter.drawRoundedRect(bar, 2, 2);
    painter.restore();
}

void paintChevron(QPainter& painter, const QRectF& rect, const QColor& ink, bool isUp = false) {
    const QPointF middle = rect.center();
    const double reach = isUp ? -1.75 : 1.75;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ink, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(
        QPolygonF{middle - QPointF(3.5, reach), middle + QPointF(0, reach), middle + QPointF(3.5, -reach)});
    painter.restore();
}

QColor inkOf(const QStyleOption& option) {
    return option.palette.color(QPalette::WindowText);
}

void paintCheckBox(const QStyleOption& option, QPainter& painter) {
    constexpr double side = 16;
    QRectF box(0, 0, side, side);
    box.moveCenter(QRectF(option.rect).center());
    const bool isOn = !has(option, QStyle::State_Off);
    const QColor accent = color(Tint::accent, option.palette);
    const QColor fill = !isOn                                ? option.palette.color(QPalette::Base)
                        : has(option, QStyle::State_Enabled) ? accent
                                                             : frameColor(option.palette);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(isOn ? QPen(Qt::NoPen) : QPen(frameColor(option.palette), 1));
    painter.drawRoundedRect(isOn ? box : box.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    if (isOn) {
        painter.setPen(QPen(colorOn(fill), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPointF corner = box.topLeft();
        painter.setBrush(Qt::NoBrush);
        if (has(option, QStyle::State_NoChange))
            painter.drawLine(corner + QPointF(4.5, 8), corner + QPointF(11.5, 8));
        else
            painter.drawPolyline(
                QPolygonF{corner + QPointF(4, 8.5), corner + QPointF(7, 11.5), corner + QPointF(12, 5)});
    }
    painter.restore();
}

void paintTab(const QStyleOptionTab& option, QPainter& painter) {
    const QRect rect = option.rect;
    if (has(option, QStyle::State_Selected)) {
        painter.fillRect(QRect(rect.left() + 8, rect.bottom() - 1, rect.width() - 16, 2),
                         color(Tint::accent, option.palette));
    } else if (has(option, QStyle::State_MouseOver)) {
        paintBox(painter, rect.adjusted(2, 2, -2, -4), wash(option.palette, 0.05), QColor());
    }
}

}  // namespace

void setEmphasis(QWidget& button, Emphasis emphasis) {
    button.setProperty(emphasisProperty, static_cast<int>(emphasis));
    button.update();
}

Style::Style() : QProxyStyle(QStringLiteral("fusion")) {}

void Style::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    if (widget->inherits("QAbstractButton") || widget->inherits("QScrollBar")) widget->setAttribute(Qt::WA_Hover);
}

void Style::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                          const QWidget* widget) const {
    switch (element) {
        case PE_PanelButtonCommand:
            return paintPushButton(*option, *painter, widget);
        case PE_IndicatorCheckBox:
            return paintCheckBox(*option, *painter);
        case PE_PanelButtonTool:
            return paintToolButton(*option, *painter);
        case PE_PanelLineEdit: {
            const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
            if (frame != nullptr && frame->lineWidth > 0) return paintLineEdit(*option, *painter);
            return;
        }
        case PE_FrameLineEdit:
        case PE_FrameDefaultButton:
        case PE_PanelToolBar:
        case PE_FrameStatusBarItem:
        case PE_FrameTabBarBase:
            return;
        case PE_FrameFocusRect:
            // What draws its own ring above must not get another.
            if (widget == nullptr || widget->inherits("QPushButton") || widget->inherits("QToolButton")) return;
            if (has(*option, State_KeyboardFocusChange))
                paintBox(*painter, option->rect, QColor(), color(Tint::accent, option->palette), 2);
            return;
        case PE_FrameGroupBox:
            return paintBox(*painter, option->rect, option->palette.color(QPalette::Base), lineColor(option->palette));
        default:
            QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void Style::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                        const QWidget* widget) const {
    switch (element) {
        case CE_ToolBar:
            return;
        case CE_PushButtonLabel:
            if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option)) {
                QStyleOptionButton label = *button;
                const Emphasis emphasis = emphasisOf(widget);
                if (emphasis != Emphasis::none && has(label, State_Enabled))
                    label.palette.setColor(QPalette::ButtonText, colorOn(fillOf(emphasis, label.palette)));
                QProxyStyle::drawControl(element, &label, painter, widget);
            }
            return;
        case CE_ToolButtonLabel:
            if (const auto* tool = qstyleoption_cast<const QStyleOptionToolButton*>(option)) {
                QStyleOptionToolButton label = *tool;
                const auto* button = qobject_cast<const QToolButton*>(widget);
                if (button != nullptr && button->menu() != nullptr && button->width() > 2 * menuSign)
                    label.rect = visualRect(label.direction, label.rect, label.rect.adjusted(0, 0, -menuSign + 4, 0));
                QProxyStyle::drawControl(element, &label, painter, widget);
            }
            return;
        case CE_TabBarTabShape:
            if (const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(option)) paintTab(*tab, *painter);
            return;
        case CE_ProgressBarGroove:
        case CE_ProgressBarLabel:
            return;
        case CE_ProgressBarContents:
            if (const auto* bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option))
                paintProgress(*bar, *painter);
            return;
        default:
            QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void Style::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                               const QWidget* widget) const {
    if (const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option); slider && control == CC_ScrollBar) {
        if (slider->maximum > slider->minimum)
            paintSlider(*slider, subControlRect(control, option, SC_ScrollBarSlider, widget), *painter);
    } else if (const auto* box = qstyleoption_cast<const QStyleOptionComboBox*>(option); box && !box->editable) {
        paintPushButton(*option, *painter, nullptr);
        paintChevron(*painter, subControlRect(control, option, SC_ComboBoxArrow, widget), inkOf(*option));
    } else if (const auto* spin = qstyleoption_cast<const QStyleOptionSpinBox*>(option)) {
        paintLineEdit(*option, *painter);
        for (const auto& [part, step] : {std::pair(SC_SpinBoxUp, QAbstractSpinBox::StepUpEnabled),
                                         std::pair(SC_SpinBoxDown, QAbstractSpinBox::StepDownEnabled)}) {
            const bool canStep = spin->stepEnabled.testFlag(step) && has(*option, State_Enabled);
            const QRect rect = subControlRect(control, option, part, widget);
            paintChevron(*painter, rect, canStep ? inkOf(*option) : frameColor(option->palette), part == SC_SpinBoxUp);
        }
    } else if (const auto* tool = qstyleoption_cast<const QStyleOptionToolButton*>(option);
               tool && tool->features.testFlag(QStyleOptionToolButton::HasMenu)) {
        QStyleOptionToolButton plain = *tool;
        plain.features.setFlag(QStyleOptionToolButton::HasMenu, false);
        const QRect end(plain.rect.right() + 1 - menuSign, plain.rect.top(), menuSign, plain.rect.height());
        QProxyStyle::drawComplexControl(control, &plain, painter, widget);
        paintChevron(*painter, visualRect(plain.direction, plain.rect, end), inkOf(*option));
    } else {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
    }
}

QPalette Style::standardPalette() const {
    return lightPalette();
}

QSize Style::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                              const QWidget* widget) const {
    QSize wanted = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (type == CT_PushButton) wanted = {std::max(wanted.width() + 8, 80), std::max(wanted.height(), controlHeight)};
    if (const auto* tool = qstyleoption_cast<const QStyleOptionToolButton*>(option);
        tool && tool->features.testFlag(QStyleOptionToolButton::HasMenu))
        wanted.rwidth() += menuSign;
    if (type == CT_LineEdit || type == CT_ComboBox || type == CT_SpinBox)
        wanted.setHeight(std::max(wanted.height(), controlHeight));
    if (type == CT_MenuItem && wanted.height() > 12) wanted.setHeight(std::max(wanted.height(), 28));
    if (type == CT_TabBarTab) wanted += QSize(16, 8);
    return wanted;
}

int Style::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
        case PM_ScrollBarExtent:
            return scrollBarWidth;
        case PM_ScrollView_ScrollBarSpacing:
            return 0;
        case PM_ToolBarFrameWidth:
        case PM_ButtonShiftHorizontal:
        case PM_ButtonShiftVertical:
            return 0;
        case PM_ButtonIconSize:
        case PM_ToolBarIconSize:
            return measures::symbol;
        case PM_LayoutHorizontalSpacing:
        case PM_LayoutVerticalSpacing:
            return measures::spacing;
        case PM_LayoutLeftMargin:
        case PM_LayoutRightMargin:
        case PM_LayoutTopMargin:
        case PM_LayoutBottomMargin:
            return measures::margin;
        default:
            return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int Style::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                     QStyleHintReturn* answer) const {
    if (hint == SH_FormLayoutLabelAlignment) return static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter);
    if (hint == SH_EtchDisabledText || hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
    return QProxyStyle::styleHint(hint, option, widget, answer);
}

QRect Style::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const {
    const QRect rect = QProxyStyle::subElementRect(element, option, widget);
    return element == SE_LineEditContents ? rect.adjusted(measures::gap, 0, -measures::gap, 0) : rect;
}

// A scroll bar without buttons at its ends: the groove is all of it.
QRect Style::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                            const QWidget* widget) const {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || slider == nullptr) return QProxyStyle::subControlRect(control, option, part, widget);
    const bool isHorizontal = slider->orientation == Qt::Horizontal;
    const int length = isHorizontal ? slider->rect.width() : slider->rect.height();
    const qint64 range = qint64{slider->maximum} - slider->minimum;
    const int thumb = range <= 0
                          ? length
                          : std::clamp(static_cast<int>(qint64{length} * slider->pageStep / (range + slider->pageStep)),
                                       std::min(24, length), length);
    const int start = sliderPositionFromValue(slider->minimum, slider->maximum, slider->sliderPosition, length - thumb,
                                              slider->upsideDown);
    const auto along = [&](int from, int size) {
        const QRect area =
            isHorizontal ? QRect(from, 0, size, slider->rect.height()) : QRect(0, from, slider->rect.width(), size);
        return visualRect(slider->direction, slider->rect, area.translated(slider->rect.topLeft()));
    };
    switch (part) {
        case SC_ScrollBarAddLine:
        case SC_ScrollBarSubLine:
            return {};
        case SC_ScrollBarSlider:
            return along(start, thumb);
        case SC_ScrollBarSubPage:
            return along(0, start);
        case SC_ScrollBarAddPage:
            return along(start + thumb, length - start - thumb);
        default:
            return along(0, length);
    }
}

void useOwnStyleOverFusion(QApplication& application) {
    Q_UNUSED(application)
    if (QApplication::style()->name().compare(QStringLiteral("fusion"), Qt::CaseInsensitive) == 0)
        QApplication::setStyle(new Style);
}

}  // namespace tovri
