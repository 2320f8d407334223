#pragma once

#include <QString>

class QPushButton;
class QWidget;

/// A push button that shows `title` to the letter: an ampersand is no mnemonic.
QPushButton* makeButton(const QString& title, QWidget* parent);
