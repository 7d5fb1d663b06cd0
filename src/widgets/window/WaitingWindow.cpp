#include "widgets/window/WaitingWindow.h"

#include <QCloseEvent>
#include <QVBoxLayout>

#include "screens/settings/SignInScreen.h"
#include "screens/window/KeyringWait.h"
#include "widgets/parts/PlaceholderView.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/window/MainWindow.h"

namespace tovri {

WaitingWindow::WaitingWindow() {
    setWindowTitle(textOf(SignInScreen::name));
    setMinimumSize(MainWindow::smallest);
    resize(MainWindow::initial);
    auto* placeholder = new PlaceholderView;
    placeholder->show(KeyringWait::placeholder());
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(placeholder);
    connect(placeholder, &PlaceholderView::buttonPressed, this, &WaitingWindow::goOnWanted);
}

void WaitingWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    emit closingWanted();
}

}  // namespace tovri
