#include <QApplication>

#include <gtest/gtest.h>

#include "widgets/theme/Theme.h"

// All tests share one application; none needs a display.
int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    const tovri::Theme theme(application);
    QApplication::setKeyboardInputInterval(60'000);  // between the letters of one name, however slow the machine
    return RUN_ALL_TESTS();
}
