#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace tovri {

// One page of settings: sections of rows, each a label with its control at the other end.
class SettingsForm final : public QWidget {
    Q_OBJECT

public:
    explicit SettingsForm(QWidget* parent = nullptr);

    // The rows that follow stand in it; an empty title is none.
    void addSection(const QString& title);

    // The label names the control where that has no name yet.
    void addRow(const QString& label, QWidget* control);

    // A line of its own in the section.
    void addLine(QWidget* content, Qt::Alignment alignment);

    // Below the row before it, small and pale.
    QLabel* addNote();

protected:
    void changeEvent(QEvent* event) override;

private:
    void dress();

    QVBoxLayout* column_;
    QVBoxLayout* section_ = nullptr;
    QList<QLabel*> titles_;
    QList<QLabel*> notes_;
};

}  // namespace tovri
