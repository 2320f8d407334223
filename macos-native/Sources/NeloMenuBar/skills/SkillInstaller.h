#pragma once

#include "base/Json.h"

#include <QObject>

#include <optional>

class QWidget;

/// Installs skill packages into agents of the "openclaw" ecosystem, asking the user what into which, and tells in
/// alerts how it went. The backend calls block.
class SkillInstaller final : public QObject
{
    Q_OBJECT

public:
    /// Its dialogs belong to `view`, which owns it.
    explicit SkillInstaller(QWidget* view);

    /// Installs a package from this machine into `agent`, a row of "list_local_agents".
    void installSkill(const QString& ecosystem, const std::optional<Json>& agent);
    /// Installs a skill of the cloud catalogue into an agent that Nelo Core reports.
    void installCloudSkill(const QString& ecosystem);

signals:
    void statusChanged(const QString& status);

private:
    std::optional<Json> chooseCloudSkill(const QString& ecosystem) const;
    std::optional<Json> chooseCoreAgent(const QString& ecosystem) const;

    QWidget* m_view; // owns this
};
