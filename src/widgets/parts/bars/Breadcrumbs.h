#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>

class QMimeData;
class QToolButton;

namespace tovri {

class TurningSign;

// The way to the folder on view: a flat button per folder, the last one emphasised. Where the way is too long for the
// line, its middle folds into a menu. At the line's end turns the sign of what is being loaded.
class Breadcrumbs final : public QWidget {
    Q_OBJECT

public:
    explicit Breadcrumbs(QWidget* parent = nullptr);

    void show(const QStringList& names);
    using QWidget::show;

    void setBusy(bool isBusy);

    // What may be dropped on a folder, and what happens with it. Without them nothing may.
    struct Drops {
        std::function<bool(int index, const QMimeData& data)> accepts;
        std::function<void(int index, const QMimeData& data)> take;
    };

    void takeDrops(Drops drops);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

signals:
    void chosen(int index);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void arrange();
    QToolButton* makeButton(const QString& name, bool isLast, int index);
    [[nodiscard]] int foldedCount() const;
    [[nodiscard]] int startOfLine() const;
    [[nodiscard]] int endOfLine() const;
    [[nodiscard]] int folderAt(const QPoint& point) const;
    void consider(QDropEvent& event);
    void setDropFolder(int index);

    QStringList names_;
    QList<QToolButton*> buttons_;  // one per name
    QToolButton* fold_;
    TurningSign* busy_;
    Drops drops_;
    int dropFolder_ = -1;    // over which something is that it takes
    QList<int> separators_;  // where the signs between the buttons stand, from the line's start
};

}  // namespace tovri
