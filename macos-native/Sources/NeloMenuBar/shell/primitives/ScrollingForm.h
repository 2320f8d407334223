#pragma once

#include <QScrollArea>

class NeloFlippedView;

/// A form as wide as the view it fills, on the background that is behind it. It scrolls when it is higher, and then
/// keeps the control that has the keyboard in sight.
class ScrollingForm final : public QScrollArea
{
    Q_OBJECT

public:
    explicit ScrollingForm(QWidget* parent = nullptr);
    ScrollingForm(const ScrollingForm&) = delete;
    ScrollingForm& operator=(const ScrollingForm&) = delete;
    ~ScrollingForm() override;

    /// What scrolls: the parent for the form's controls and layout.
    NeloFlippedView* documentView() const { return m_documentView; }

private:
    void followFocus(QWidget* focused);

    NeloFlippedView* m_documentView; // child of this
};
