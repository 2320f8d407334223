#pragma once

#include <QPushButton>

/// Returns a push button that shows `title` unchanged: an ampersand marks no mnemonic.
QPushButton* makeButton(const QString& title, QWidget* parent);

/// Returns the same, and calls `action` of `receiver` when it is clicked.
template <typename Receiver>
QPushButton* makeButton(const QString& title, QWidget* parent, Receiver* receiver, void (Receiver::*action)())
{
    QPushButton* button = makeButton(title, parent);
    QObject::connect(button, &QPushButton::clicked, receiver, action);
    return button;
}
