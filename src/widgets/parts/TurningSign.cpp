#include "widgets/parts/TurningSign.h"

#include <QPainter>
#include <cmath>

#include "widgets/rows/RowPainter.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Theme.h"

namespace tovri {

TurningSign::TurningSign(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(tr("In progress"));
    clock_.start();
}

QSize TurningSign::sizeHint() const {
    return {measures::inlineButton, measures::inlineButton};
}

void TurningSign::paintEvent(QPaintEvent*) {
    constexpr double period = 1400;  // milliseconds
    QPainter painter(this);
    const double turn = isMotionWanted() ? std::fmod(static_cast<double>(clock_.elapsed()) / period, 1.0) : 0;
    paintTurningSign(painter, rect(), color(Tint::secondary, palette()), turn);
}

void TurningSign::timerEvent(QTimerEvent*) {
    update();
}

void TurningSign::showEvent(QShowEvent*) {
    if (isMotionWanted()) timer_.start(50, this);
}

void TurningSign::hideEvent(QHideEvent*) {
    timer_.stop();
}

}  // namespace tovri
