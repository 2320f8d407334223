#pragma once

#include <QScrollArea>

class Label;
class NeloFlippedView;
class QFrame;
class QHBoxLayout;
class QLineEdit;

/// The measures of a form's rows in device-independent pixels, for text of ordinary size.
struct FormRowMetrics
{
    int labelWidth;
    int spacing;
};

/// A row of a form: `label`, right-aligned and exactly as wide as told, as the buddy of `field`, which is at least 220
/// wide. A field that can use more room takes what there is; a pop-up button keeps its natural width.
QHBoxLayout* formRow(Label* label, QWidget* field, FormRowMetrics metrics);

/// The same with a label of that text, which becomes a sibling of the field.
QHBoxLayout* formRow(const QString& label, QWidget* field, FormRowMetrics metrics);

/// A text field that takes texts of any length: what was loaded into it can be saved whole.
QLineEdit* makeField(const QString& placeholder, QWidget* parent);

/// The title of a form's section.
Label* makeSectionHeader(const QString& title, QWidget* parent);

/// A line between two sections of a form.
QFrame* makeSeparator(QWidget* parent);

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
