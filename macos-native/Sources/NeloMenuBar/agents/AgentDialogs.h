#pragma once

#include <QString>

#include <optional>

class QHBoxLayout;
class QWidget;

/// The ecosystem and the name that were chosen for an agent to be created; the name may be blank.
struct NewAgentChoice
{
    QString ecosystem;
    QString name;
};

/// Asks for the ecosystem and the name of a new agent, the latter pre-filled with one of openclaw and `stamp`. None
/// when it was cancelled. This and the next run an event loop.
std::optional<NewAgentChoice> askForNewAgent(QWidget* parent, const QString& stamp);

/// Asks for a name, pre-filled with `name`; the answer is trimmed, and none when it was cancelled.
std::optional<QString> askForName(QWidget* parent, const QString& title, const QString& text, const QString& name);

/// A row of a dialog's form: `label`, right-aligned and 90 device-independent pixels wide, beside `field`, which
/// becomes at least 280 wide and gets the label as its caption.
QHBoxLayout* labelRow(const QString& label, QWidget* field);
