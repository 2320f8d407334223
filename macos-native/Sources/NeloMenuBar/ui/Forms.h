#pragma once

#include <QString>

class Label;
class QFrame;
class QHBoxLayout;
class QLineEdit;
class QWidget;

/// The measures of a form's rows in device-independent pixels, for text of ordinary size.
struct FormRowMetrics
{
    int labelWidth;
    int spacing;
};

/// Returns a row of a form: `label`, which is right-aligned and has the given width, and `field`, which is at least 220
/// wide. The field is the label's buddy. A text field grows with the row; a pop-up button keeps its natural width.
QHBoxLayout* formRow(Label* label, QWidget* field, FormRowMetrics metrics);

/// Returns the same with a new label. The label has the field's parent.
QHBoxLayout* formRow(const QString& label, QWidget* field, FormRowMetrics metrics);

/// Returns a text field without a limit of length, so that a long text that was loaded is saved whole.
QLineEdit* makeField(const QString& placeholder, QWidget* parent);

/// Returns the title of a form's section.
Label* makeSectionHeader(const QString& title, QWidget* parent);

/// Returns a line between two sections of a form.
QFrame* makeSeparator(QWidget* parent);
