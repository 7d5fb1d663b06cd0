#include "widgets/theme/Style.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QIcon>
#include <QPainter>
#include <QStyleOption>
#include <QToolButton>
#include <QWidget>

#include "widgets/theme/Colors.h"
#include "widgets/theme/ControlGeometry.h"
#include "widgets/theme/ControlPainting.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/MenuPainting.h"
#include "widgets/theme/Palettes.h"
#include "widgets/theme/Symbols.h"
#include "widgets/theme/TextDirection.h"

namespace tovri {
namespace {

constexpr int scrollBarWidth = 12;
constexpr int controlHeight = 32;
constexpr int menuSign = 14;  // what a tool button is wider for its arrow
constexpr int indicator = 16;

bool has(const QStyleOption& option, QStyle::StateFlag flag) {
    return option.state.testFlag(flag);
}

QColor inkOf(const QStyleOption& option) {
    return option.palette.color(QPalette::WindowText);
}

// Where its arrow stands, not mirrored. A symbol without text stands nearer to the button's edge than a text would.
QRect menuSignOf(const QStyleOptionToolButton& button) {
    const int fromEnd = menuSign - (button.toolButtonStyle == Qt::ToolButtonIconOnly ? 3 : 0);
    return {button.rect.right() + 1 - 2 * fromEnd, button.rect.top(), 2 * fromEnd, button.rect.height()};
}

}  // namespace

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
        case PE_PanelMenu:
            return paintMenuPanel(*option, *painter);
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
                    label.rect = visualRect(label.direction, label.rect, label.rect.adjusted(0, 0, -menuSign, 0));
                // Else the text's own direction counts, and it stands apart from its symbol.
                painter->setLayoutDirection(label.direction);
                QProxyStyle::drawControl(element, &label, painter, widget);
            }
            return;
        case CE_MenuItem:
            if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option)) {
                QStyleOptionMenuItem line = *item;
                // The list of a combo box has another background, and no room at its sides.
                if (qobject_cast<const QComboBox*>(widget) != nullptr) {
                    painter->fillRect(line.rect, line.palette.color(QPalette::Base));
                    line.rect.adjust(measures::gap, 0, -measures::gap, 0);
                }
                paintMenuItem(line, *painter);
            }
            return;
        case CE_MenuBarItem:
            if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option))
                paintMenuBarItem(*item, *painter);
            return;
        case CE_MenuBarEmptyArea:
            return paintMenuBar(*option, *painter);
        case CE_TabBarTabShape:
            if (const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(option)) paintTab(*tab, *painter);
            return;
        case CE_TabBarTabLabel:
            if (const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(option)) {
                QStyleOptionTab label = *tab;
                label.state.setFlag(State_HasFocus, false);  // its ring is drawn with its shape
                QProxyStyle::drawControl(element, &label, painter, widget);
            }
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
    } else if (const auto* tool = qstyleoption_cast<const QStyleOptionToolButton*>(option)) {
        QStyleOptionToolButton plain = *tool;
        plain.features.setFlag(QStyleOptionToolButton::HasMenu, false);
        QProxyStyle::drawComplexControl(control, &plain, painter, widget);
        if (tool->features.testFlag(QStyleOptionToolButton::HasMenu))
            paintChevron(*painter, visualRect(tool->direction, tool->rect, menuSignOf(*tool)), inkOf(*option));
        paintFocusRing(*option, *painter);
    } else {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
    }
}

void Style::drawItemText(QPainter* painter, const QRect& rect, int flags, const QPalette& palette, bool isEnabled,
                         const QString& text, QPalette::ColorRole role) const {
    const int ownFlags = textFlags(text, flags, painter->layoutDirection());
    QProxyStyle::drawItemText(painter, rect, ownFlags, palette, isEnabled, text, role);
}

QPalette Style::standardPalette() const {
    return lightPalette();
}

QIcon Style::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const {
    if (icon == SP_LineEditClearButton) return symbolIcon("xmark.circle.fill", Tint::secondary);
    return QProxyStyle::standardIcon(icon, option, widget);
}

QSize Style::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                              const QWidget* widget) const {
    QSize wanted = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option); item && type == CT_MenuItem)
        return menuItemSize(*item, size);
    if (type == CT_MenuBarItem) return menuBarItemSize(size);
    if (type == CT_PushButton) wanted = {std::max(wanted.width() + 16, 80), std::max(wanted.height(), controlHeight)};
    if (const auto* tool = qstyleoption_cast<const QStyleOptionToolButton*>(option);
        tool && tool->features.testFlag(QStyleOptionToolButton::HasMenu))
        wanted.rwidth() += menuSign;
    if (type == CT_SpinBox) wanted.setHeight(size.height());  // that of the field in it
    if (type == CT_ComboBox) wanted.setWidth(size.width() + 3 * measures::spacing + arrowColumn);
    if (type == CT_LineEdit || type == CT_ComboBox || type == CT_SpinBox)
        wanted.setHeight(std::max(wanted.height(), controlHeight));
    if (type == CT_TabBarTab) wanted += QSize(measures::gap, measures::spacing);
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
        case PM_TabBarTabShiftHorizontal:
        case PM_TabBarTabShiftVertical:
            return 0;
        case PM_TabBarTabHSpace:
            return 2 * measures::margin;
        case PM_MenuBarHMargin:
        case PM_MenuHMargin:
        case PM_MenuVMargin:
            return measures::gap;
        case PM_IndicatorWidth:
        case PM_IndicatorHeight:
            return indicator;
        case PM_CheckBoxLabelSpacing:
            return measures::spacing;
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
    if (element == SE_LineEditContents) return rect.adjusted(measures::gap, 0, -measures::gap, 0);
    // Small signs are rounded up, letters down.
    if (element == SE_CheckBoxIndicator) return rect.translated(0, 1);
    if (element == SE_TabBarTabText) return rect.translated(0, -1);
    // The line below the first tab begins where the page does.
    if (element == SE_TabWidgetTabBar)
        return rect.translated(option->direction == Qt::LeftToRight ? measures::spacing : -measures::spacing, 0);
    return rect;
}

QRect Style::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                            const QWidget* widget) const {
    if (control == CC_SpinBox) return partOfSpinBox(*option, part);
    if (control == CC_ComboBox) return partOfComboBox(*option, part);
    if (const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option); slider && control == CC_ScrollBar)
        return partOfScrollBar(*slider, part);
    return QProxyStyle::subControlRect(control, option, part, widget);
}

void useOwnStyleOverFusion(QApplication& application) {
    Q_UNUSED(application)
    if (QApplication::style()->name().compare(QStringLiteral("fusion"), Qt::CaseInsensitive) == 0)
        QApplication::setStyle(new Style);
}

}  // namespace tovri
