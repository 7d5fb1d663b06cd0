#pragma once

#include <QScrollArea>

#include "screens/settings/SignInScreen.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

namespace tovri {

class ErrorLine;
class LinkButton;
class TurningSign;

// The sign-in screen: the name, the client ID, the way to put.io's page, and what can be done while that is open.
class SignInView final : public QScrollArea {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit SignInView(SignInScreen& screen, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void addName(QVBoxLayout& column);
    QWidget* makeSetup();
    QWidget* makeSignInButton();
    QWidget* makeWaiting();
    void update();
    void showError();
    void focusClientID();
    void dress();

    SignInScreen& screen_;
    QLabel* symbol_;
    QLabel* name_;
    QLabel* tagline_;
    QWidget* setup_ = nullptr;
    QLabel* headline_ = nullptr;
    QLabel* hint_ = nullptr;
    QLineEdit* clientID_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* signIn_ = nullptr;
    TurningSign* turning_ = nullptr;
    QWidget* waiting_ = nullptr;
    QLabel* addressPrompt_ = nullptr;
    QLineEdit* address_ = nullptr;
    ErrorLine* addressError_ = nullptr;
    LinkButton* change_;
    ErrorLine* error_;
    QLabel* notice_;
    Subscription following_;
};

}  // namespace tovri
