#pragma once

#include <QPushButton>

/// A push button that shows `title` to the letter: an ampersand is no mnemonic.
QPushButton* makeButton(const QString& title, QWidget* parent);

/// The same, which runs `action` of `receiver` when it is clicked.
template <typename Receiver>
QPushButton* makeButton(const QString& title, QWidget* parent, Receiver* receiver, void (Receiver::*action)())
{
    QPushButton* button = makeButton(title, parent);
    QObject::connect(button, &QPushButton::clicked, receiver, action);
    return button;
}
