#include "skills/SkillInstaller.h"

#include "base/Ecosystem.h"
#include "skills/core/SkillReports.h"
#include "skills/core/SkillTexts.h"
#include "ui/Alerts.h"
#include "ui/PopUpButton.h"
#include "ui/SingleLine.h"
#include "ui/TextScale.h"

#include <QDir>
#include <QFileDialog>
#include <QPointer>

namespace {

/// A question whose answer is one of several rows.
struct Question
{
    QString title;
    QString text;
    QString popupName;
    QString firstButton;
};

/// Asks the user to choose one of `rows` by its title. Returns the row, or nothing when the user cancelled.
std::optional<Json> choose(QWidget* view, const Question& question, const std::vector<Json>& rows,
                           QString (*titleOf)(const Json& row))
{
    PopUpButton popup;
    popup.setFixedSize(scaledToFont(QSize(420, 26)));
    popup.setAccessibleName(question.popupName);
    for (const Json& row : rows)
        popup.addItem(singleLine(titleOf(row)));
    const DialogAnswer answer = runDialog(view, question.title, question.text, &popup, question.firstButton);
    if (answer != DialogAnswer::Accepted || popup.currentIndex() < 0)
        return std::nullopt;
    return rows[static_cast<std::size_t>(popup.currentIndex())];
}

QString firstFolder()
{
    const QString desktop = QDir::home().filePath(QStringLiteral("Desktop"));
    return QDir(desktop).exists() ? desktop : QDir::homePath();
}

/// Asks for the file of a skill package, and returns its path. The dialog starts in the folder "Desktop". Returns
/// nothing when the user cancelled. The kind of the file is not checked. Runs an event loop.
std::optional<QString> choosePackage(QWidget* parent)
{
    const QString message =
        QStringLiteral("Choose an openclaw skill package (.zip). Non-zip files will be rejected after selection.");
    const QPointer<QFileDialog> dialog(new QFileDialog(parent, message, firstFolder()));
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->resize(scaledWindowSize({800, 480})); // the title bar shows the whole message
    dialog->setLabelText(QFileDialog::Accept, QStringLiteral("Install"));
    const bool isConfirmed = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return std::nullopt; // it was deleted with its window
    const QStringList files = dialog->selectedFiles();
    dialog->deleteLater();
    return isConfirmed && !files.isEmpty() ? std::optional(files.first()) : std::nullopt;
}

} // namespace

SkillInstaller::SkillInstaller(QWidget* view) : QObject(view), m_view(view)
{}

void SkillInstaller::installSkill(const QString& ecosystem, const std::optional<Json>& agent)
{
    if (ecosystem != Ecosystem::openclaw) {
        showAlert(m_view, QStringLiteral("Unsupported"),
                  QStringLiteral("Install Skill is currently implemented for openclaw only."));
        return;
    }
    if (!agent) {
        showAlert(m_view, QStringLiteral("No OpenClaw Agent"), QStringLiteral("Select an openclaw agent first."));
        return;
    }
    const QString id = textOf(*agent, "id"); // a copy: the row may change while the dialog is open
    const QPointer<SkillInstaller> self(this);
    const std::optional<QString> package = choosePackage(m_view);
    if (!self || !package)
        return;

    const std::optional<BackendReply> reply =
        callOrAlert(m_view, QStringLiteral("Install Failed"), "install_openclaw_skill_zip", {id, *package});
    if (!reply)
        return;
    const Json result = reply->object();
    emit statusChanged(installStatus(QStringLiteral("skill"), result));
    showAlert(m_view, QStringLiteral("Skill Installed"),
              QStringLiteral("Agent: ") + id + u'\n' + installSummary(result));
}

void SkillInstaller::installCloudSkill(const QString& ecosystem)
{
    if (ecosystem != Ecosystem::openclaw) {
        showAlert(m_view, QStringLiteral("Unsupported"),
                  QStringLiteral("Cloud skill install is currently implemented for openclaw only."));
        return;
    }
    const QPointer<SkillInstaller> self(this);
    const std::optional<Json> skill = chooseCloudSkill(ecosystem);
    if (!self || !skill)
        return;
    const std::optional<Json> agent = chooseCoreAgent(ecosystem);
    if (!self || !agent)
        return;

    const std::optional<BackendReply> reply =
        callOrAlert(m_view, QStringLiteral("Cloud Install Failed"), "install_cloud_skill_from_core",
                    {ecosystem, textOf(*skill, "key"), textOf(*agent, "id")});
    if (!reply)
        return;
    const Json result = reply->object();
    const QString name = cloudSkillName(*skill);
    emit statusChanged(installStatus(QStringLiteral("cloud skill ") + name, result));
    showAlert(m_view, QStringLiteral("Cloud Skill Installed"),
              QStringLiteral("Skill: ") + name + QStringLiteral("\nAgent: ") + coreAgentName(*agent) + u'\n'
                  + installSummary(result));
}

std::optional<Json> SkillInstaller::chooseCloudSkill(const QString& ecosystem) const
{
    const std::optional<BackendReply> reply =
        callOrAlert(m_view, QStringLiteral("Core Catalog Failed"), "list_cloud_skills_via_core", {ecosystem});
    if (!reply)
        return std::nullopt;
    const std::vector<Json> skills = reply->rows();
    if (skills.empty()) {
        showAlert(m_view, QStringLiteral("No Cloud Skills"),
                  QStringLiteral("Core returned an empty cloud skills catalog."));
        return std::nullopt;
    }
    const Question question{QStringLiteral("Install Cloud Skill"),
                            QStringLiteral("Cloud catalog is fetched via Nelo Core."), QStringLiteral("Skill"),
                            QStringLiteral("Install")};
    return choose(m_view, question, skills, cloudSkillTitle);
}

std::optional<Json> SkillInstaller::chooseCoreAgent(const QString& ecosystem) const
{
    const std::optional<BackendReply> reply =
        callOrAlert(m_view, QStringLiteral("Core Agents Failed"), "list_core_agents", {ecosystem, true});
    if (!reply)
        return std::nullopt;
    const std::vector<Json> agents = agentsOf(reply->rows(), Ecosystem::openclaw);
    if (agents.empty()) {
        showAlert(m_view, QStringLiteral("No Online OpenClaw Agent"),
                  QStringLiteral("Core did not report any online openclaw agents."));
        return std::nullopt;
    }
    const Question question{QStringLiteral("Select OpenClaw Agent"),
                            QStringLiteral("Choose the target workspace for this skill package."),
                            QStringLiteral("Agent"), QStringLiteral("Select")};
    return choose(m_view, question, agents, coreAgentTitle);
}
