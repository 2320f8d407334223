#include "skills/PackagePanel.h"

#include "ui/TextScale.h"

#include <QDir>
#include <QFileDialog>
#include <QPointer>

namespace {

QString firstFolder()
{
    const QString desktop = QDir::home().filePath(QStringLiteral("Desktop"));
    return QDir(desktop).exists() ? desktop : QDir::homePath();
}

} // namespace

std::optional<QString> askForSkillPackage(QWidget* parent)
{
    const QString message =
        QStringLiteral("Choose an openclaw skill package (.zip). Non-zip files will be rejected after selection.");
    const QPointer<QFileDialog> panel(new QFileDialog(parent, message, firstFolder()));
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->resize(scaledWindowSize({800, 480})); // as wide as its message
    panel->setLabelText(QFileDialog::Accept, QStringLiteral("Install"));
    const bool isConfirmed = panel->exec() == QDialog::Accepted;
    if (!panel)
        return std::nullopt; // it went with its window
    const QStringList files = panel->selectedFiles();
    panel->deleteLater();
    return isConfirmed && !files.isEmpty() ? std::optional(files.first()) : std::nullopt;
}
