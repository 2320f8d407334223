#pragma once

#include <QScrollArea>

/// The document view of a scrolling form. Its origin is the top left corner and y grows downwards, so that rows from
/// y = 0 start at the top. These are Qt's own coordinates; the class gives the view the name of its purpose.
class NeloFlippedView final : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;
};

/// A form that is as wide as its view and transparent. When it is higher than the view, it scrolls, and keeps the
/// control with the keyboard focus visible.
class ScrollingForm final : public QScrollArea
{
    Q_OBJECT

public:
    explicit ScrollingForm(QWidget* parent = nullptr);
    ScrollingForm(const ScrollingForm&) = delete;
    ScrollingForm& operator=(const ScrollingForm&) = delete;
    ~ScrollingForm() override;

    /// Returns the view that scrolls. It is the parent of the form's controls and layout.
    NeloFlippedView* documentView() const { return m_documentView; }

private:
    void followFocus(QWidget* focused);

    NeloFlippedView* m_documentView; // child of this
};
