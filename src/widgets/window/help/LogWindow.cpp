#include "widgets/window/help/LogWindow.h"

#include <QClipboard>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

constexpr QSize initialSize{720, 480};

}  // namespace

LogWindow::LogWindow(KeptLog& log, QWidget* parent)
    : QWidget(parent, Qt::Window),
      log_(log),
      filter_(new QLineEdit),
      text_(new QPlainTextEdit),
      following_(log.onLine([this](const std::string& line) { add(line); })) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Log"));
    resize(initialSize);
    filter_->setPlaceholderText(tr("Filter lines"));
    filter_->setAccessibleName(tr("Filter lines"));
    filter_->setClearButtonEnabled(true);
    text_->setAccessibleName(windowTitle());
    text_->setReadOnly(true);
    text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text_->setMaximumBlockCount(static_cast<int>(KeptLog::mostLines));
    auto* copy = new QPushButton(tr("Copy"));
    auto* line = new QHBoxLayout;
    line->setSpacing(measures::spacing);
    line->addWidget(filter_, 1);
    line->addWidget(copy);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(measures::margin, measures::margin, measures::margin, measures::margin);
    column->setSpacing(measures::spacing);
    column->addLayout(line);
    column->addWidget(text_, 1);
    connect(filter_, &QLineEdit::textChanged, this, &LogWindow::showLines);
    connect(copy, &QPushButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(text_->toPlainText()); });
    connect(text_, &QPlainTextEdit::textChanged, copy,
            [this, copy] { copy->setEnabled(!text_->document()->isEmpty()); });
    copy->setEnabled(false);
    showLines();
}

void LogWindow::showLines() {
    text_->clear();
    QStringList shown;
    for (const std::string& line : log_.lines())
        if (const QString text = textOf(line); text.contains(filter_->text(), Qt::CaseInsensitive)) shown << text;
    text_->setPlainText(shown.join(u'\n'));
    text_->moveCursor(QTextCursor::End);
}

// Keeps to what is read: the view follows only where it is at the end.
void LogWindow::add(const std::string& line) {
    const QString text = textOf(line);
    if (text.contains(filter_->text(), Qt::CaseInsensitive)) text_->appendPlainText(text);
}

}  // namespace tovri
