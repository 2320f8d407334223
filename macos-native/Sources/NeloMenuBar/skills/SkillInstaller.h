#pragma once

#include "base/Json.h"

#include <QObject>

#include <optional>

class QWidget;

/// Installs skill packages into agents of the ecosystem "openclaw". Asks the user for the package and the agent, and
/// tells the result in alerts. Backend calls block.
class SkillInstaller final : public QObject
{
    Q_OBJECT

public:
    /// `view` owns this object and is the parent of its dialogs.
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
