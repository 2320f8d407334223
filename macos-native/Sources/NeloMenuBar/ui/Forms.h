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
