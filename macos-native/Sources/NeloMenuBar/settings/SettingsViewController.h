#pragma once

#include "shell/primitives/ViewController.h"

#include <QMap>

class Label;
class PopUpButton;
class QCheckBox;
class QLayout;
class QLineEdit;
struct SaveReport;
struct SettingsDocument;

/// The form that edits the settings document, which the backend module keeps, and the API keys of the cloud providers,
/// which the user defaults keep. It reads both once when it is built and again when told to.
///
/// A key that was typed stays in this object until it is saved. The backend calls block.
class SettingsViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit SettingsViewController(QWidget* parent = nullptr);

    /// Shows what is saved; whatever was edited since is gone. A failure changes nothing but the status.
    void loadSettings();
    /// Saves the document, and whether that works or not, the keys.
    void saveSettings();
    /// Saves, then has the backend fetch the catalogue of cloud skills from the address that was saved.
    void refreshCloudCatalog();
    /// Keeps the typed key for the provider that was selected before, and shows that of the one selected now.
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
    Label* m_statusLabel = nullptr;

    QMap<QString, QString> m_providerKeyCache; // the API keys as last typed or loaded, empty ones included
    QString m_currentCloudProvider;            // whose key the key field shows
};
