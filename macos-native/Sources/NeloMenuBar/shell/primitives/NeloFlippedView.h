#pragma once

#include <QWidget>

/// The document view of a hand-laid-out scrolling form: its origin is the top left corner and y grows downwards, so
/// rows laid out from y = 0 start at the top. Qt's own coordinates, under the name that says what the view is for.
class NeloFlippedView final : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;
};
