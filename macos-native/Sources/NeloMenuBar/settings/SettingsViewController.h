#pragma once

#include "shell/primitives/ViewController.h"

#include <QMap>

class PopUpButton;
class QCheckBox;
class QLayout;
class QLineEdit;
class StatusLine;
struct SaveReport;
struct SettingsDocument;

/// The form that edits the settings document, which the backend module stores, and the API keys of the cloud providers,
/// which the user defaults store. It loads both when it is built and when the user presses "Reload".
///
/// A key that was typed stays in this object until it is saved. Backend calls block.
class SettingsViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit SettingsViewController(QWidget* parent = nullptr);

    /// Shows the saved settings, and discards edits. A failure changes only the status.
    void loadSettings();
    /// Saves the document and the keys. The keys are saved also when saving the document fails.
    void saveSettings();
    /// Saves. Then the backend fetches the catalogue of cloud skills from the saved address.
    void refreshCloudCatalog();
    /// Keeps the typed key for the provider that was selected before, and shows the key of the selected provider.
    void cloudProviderChanged();

protected:
    void loadView() override;
    void viewDidLoad() override;

private:
    void makeControls(QWidget* parent);
    QLayout* makeForm(QWidget* parent) const;
    QLayout* makeButtonRow(QWidget* parent);

    SaveReport save();
    void showSettings(const SettingsDocument& settings);
    SettingsDocument shownSettings() const;
    void takeTypedKey();

    QCheckBox* m_coreAutoDiscoveryButton = nullptr; // these are children of this
    QLineEdit* m_coreURLField = nullptr;
    PopUpButton* m_chatModePopup = nullptr;
    PopUpButton* m_localModelPopup = nullptr;
    PopUpButton* m_cloudProviderPopup = nullptr;
    QLineEdit* m_cloudModelField = nullptr;
    QLineEdit* m_cloudAPIKeyField = nullptr;
    QLineEdit* m_cloudSkillsCatalogURLField = nullptr;
    QCheckBox* m_autoTovaniButton = nullptr;
    QLineEdit* m_tovaniPathField = nullptr;
    StatusLine* m_statusLabel = nullptr;

    /// By provider: the API keys as they were typed or loaded last, also empty ones.
    QMap<QString, QString> m_providerKeyCache;
    QString m_currentCloudProvider; // the key field shows the key of this provider
};
