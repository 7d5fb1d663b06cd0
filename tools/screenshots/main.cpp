#include <QApplication>
#include <QDir>
#include <QTextStream>
#include <exception>

#include "Camera.h"
#include "Demonstration.h"
#include "Tour.h"
#include "widgets/theme/Theme.h"

// Takes pictures of every screen: screenshots FOLDER [WIDTHxHEIGHT] [--right-to-left]
int main(int count, char** arguments) {
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("tovri"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setFont(QFont(QStringLiteral("Noto Sans"), 10));
    QStringList words = QApplication::arguments().mid(1);
    if (words.removeAll(QStringLiteral("--right-to-left")) > 0) QApplication::setLayoutDirection(Qt::RightToLeft);
    const QStringList size = words.value(1, QStringLiteral("900x600")).split('x');
    if (words.isEmpty() || size.size() != 2 || !QDir().mkpath(words.constFirst())) {
        QTextStream(stderr) << "Usage: screenshots FOLDER [WIDTHxHEIGHT] [--right-to-left]\n";
        return 2;
    }
    try {
        tovri::Theme theme(application);
        tovri::screenshots::Camera camera(theme, words.constFirst());
        tovri::screenshots::Demonstration demonstration;
        tovri::screenshots::Tour(demonstration, camera).run({size[0].toInt(), size[1].toInt()});
        return 0;
    } catch (const std::exception& error) {
        QTextStream(stderr) << "screenshots: " << error.what() << '\n';
        return 1;
    }
}
