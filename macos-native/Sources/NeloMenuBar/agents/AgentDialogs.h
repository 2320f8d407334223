#pragma once

#include <QString>

#include <optional>

class QHBoxLayout;
class QWidget;

/// The user's choice for a new agent. The name may be blank.
struct NewAgentChoice
{
    QString ecosystem;
    QString name;
};

/// Asks for the ecosystem and the name of a new agent. The name field starts with "openclaw", a blank and `stamp`.
/// Returns nothing when the user cancelled. Runs an event loop.
std::optional<NewAgentChoice> askForNewAgent(QWidget* parent, const QString& stamp);

/// Asks for a name. The field starts with `name`. Returns the name without the blanks around it, or nothing when the
/// user cancelled. Runs an event loop.
std::optional<QString> askForName(QWidget* parent, const QString& title, const QString& text, const QString& name);

/// Returns a row of a dialog's form: `label`, right-aligned and 90 device-independent pixels wide, and `field`, which
/// gets its minimum width, or 280 if that is less. The label is the field's buddy.
QHBoxLayout* labelRow(const QString& label, QWidget* field);
