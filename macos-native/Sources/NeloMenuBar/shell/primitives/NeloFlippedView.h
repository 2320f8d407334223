#pragma once

#include <QWidget>

/// The document view of a scrolling form. Its origin is the top left corner and y grows downwards, so that rows from
/// y = 0 start at the top. These are Qt's own coordinates; the class gives the view the name of its purpose.
class NeloFlippedView final : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;
};
