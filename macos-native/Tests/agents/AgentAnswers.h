#pragma once

#include "support/DialogRobot.h"

#include <QComboBox>
#include <QLineEdit>

/// Answers to the dialogs of the Agents tab.
namespace AgentAnswers {

inline QLineEdit* nameField(const QDialog& dialog)
{
    return dialog.findChild<QLineEdit*>(QStringLiteral("nameField"));
}

inline QComboBox* ecosystemPopup(const QDialog& dialog)
{
    return dialog.findChild<QComboBox*>(QStringLiteral("ecosystemPopup"));
}

/// Enters `name` and saves.
inline DialogRobot::Answer saveName(const QString& name)
{
    return [name](QDialog& dialog) {
        nameField(dialog)->setText(name);
        DialogRobot::press(QStringLiteral("Save"))(dialog);
    };
}

/// Chooses `ecosystem`, enters `name` and creates.
inline DialogRobot::Answer create(const QString& ecosystem, const QString& name)
{
    return [ecosystem, name](QDialog& dialog) {
        ecosystemPopup(dialog)->setCurrentText(ecosystem);
        nameField(dialog)->setText(name);
        DialogRobot::press(QStringLiteral("Create"))(dialog);
    };
}

} // namespace AgentAnswers
