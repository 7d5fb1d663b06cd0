#pragma once

#include <QStringList>
#include <QWidget>

class QToolButton;

namespace tovri {

// The way to the folder on view: a flat button per folder, the last one emphasised. Where the way is too long for the
// line, its middle folds into a menu.
class Breadcrumbs final : public QWidget {
    Q_OBJECT

public:
    explicit Breadcrumbs(QWidget* parent = nullptr);

    void show(const QStringList& names);
    using QWidget::show;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void arrange();
    QToolButton* makeButton(const QString& name, bool isLast, int index);
    [[nodiscard]] int foldedCount() const;
    [[nodiscard]] int startOfLine() const;

    QStringList names_;
    QList<QToolButton*> buttons_;  // one per name
    QToolButton* fold_;
    QList<int> separators_;  // where the signs between the buttons stand, from the line's start
};

}  // namespace tovri
