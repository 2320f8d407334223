#include "settings/SettingsViewController.h"

#include "backend/BackendReply.h"
#include "backend/NeloBackend.h"
#include "base/ApiKeyStore.h"
#include "base/Provider.h"
#include "settings/core/SettingsDocument.h"
#include "settings/core/SettingsReports.h"
#include "shell/primitives/ScrollingForm.h"
#include "ui/Buttons.h"
#include "ui/Forms.h"
#include "ui/Labels.h"
#include "ui/PopUpButton.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QVBoxLayout>

namespace {

constexpr FormRowMetrics rowMetrics{.labelWidth = 140, .spacing = 12};

QCheckBox* makeCheckBox(const QString& objectName, const QString& title, QWidget* parent)
{
    auto* box = new QCheckBox(title, parent);
    box->setObjectName(objectName);
    return box;
}

QLineEdit* makeNamedField(const QString& objectName, const QString& placeholder, QWidget* parent)
{
    QLineEdit* field = makeField(placeholder, parent);
    field->setObjectName(objectName);
    return field;
}

PopUpButton* makePopup(const QString& objectName, const QStringList& titles, QWidget* parent)
{
    auto* popup = new PopUpButton(parent);
    popup->setObjectName(objectName);
    popup->addItems(titles);
    return popup;
}

/// Shows `text` from its beginning.
void showText(QLineEdit* field, const QString& text)
{
    field->setText(text);
    field->setCursorPosition(0);
}

/// Selects the item with the title `title`. Appends it first when the pop-up does not have it.
void selectOrAppend(PopUpButton* popup, const QString& title)
{
    if (popup->findText(title) < 0)
        popup->addItem(title);
    popup->selectItemWithTitle(title);
}

QMap<QString, QString> storedKeys()
{
    const ApiKeyStore store;
    QMap<QString, QString> keys;
    for (const QString& provider : Provider::all())
        keys.insert(provider, store.key(provider));
    return keys;
}

} // namespace

SettingsViewController::SettingsViewController(QWidget* parent)
    : ViewController(parent), m_currentCloudProvider(Provider::all().constFirst())
{}

void SettingsViewController::loadView()
{
    auto* scrollView = new ScrollingForm(this);
    auto* root = new QVBoxLayout(this);
    root->setContentsMargins({});
    root->addWidget(scrollView);

    QWidget* documentView = scrollView->documentView();
    makeControls(documentView);
    auto* column = new QVBoxLayout(documentView);
    column->setContentsMargins(24, 24, 24, 24);
    column->setSpacing(0);
    column->addLayout(makeForm(documentView));
    column->addSpacing(10);
    column->addLayout(makeButtonRow(documentView));
    column->addSpacing(14);
    column->addWidget(m_statusLabel);
    column->addStretch();
}

void SettingsViewController::makeControls(QWidget* parent)
{
    m_coreAutoDiscoveryButton = makeCheckBox(QStringLiteral("coreAutoDiscoveryButton"),
                                             QStringLiteral("Auto-discover local Nelo Core (127.0.0.1:8878)"), parent);
    m_coreURLField = makeNamedField(QStringLiteral("coreURLField"), QStringLiteral("http://127.0.0.1:8878"), parent);
    m_chatModePopup = makePopup(QStringLiteral("chatModePopup"), chatModes(), parent);
    m_localModelPopup = makePopup(QStringLiteral("localModelPopup"), localModels(), parent);
    m_cloudProviderPopup = makePopup(QStringLiteral("cloudProviderPopup"), Provider::all(), parent);
    connect(m_cloudProviderPopup, &QComboBox::activated, this, &SettingsViewController::cloudProviderChanged);
    m_cloudModelField = makeNamedField(QStringLiteral("cloudModelField"), Provider::defaultModel, parent);
    m_cloudAPIKeyField = makeNamedField(QStringLiteral("cloudAPIKeyField"), QStringLiteral("Cloud API Key"), parent);
    m_cloudAPIKeyField->setEchoMode(QLineEdit::Password);
    m_cloudSkillsCatalogURLField =
        makeNamedField(QStringLiteral("cloudSkillsCatalogURLField"),
                       QStringLiteral("https://your-server/path/cloud_skills_catalog.json"), parent);
    m_autoTovaniButton = makeCheckBox(QStringLiteral("autoTovaniButton"),
                                      QStringLiteral("Auto-download Tovani on chat (local mode)"), parent);
    m_tovaniPathField = makeNamedField(QStringLiteral("tovaniPathField"), defaultTovaniPath(), parent);
    m_statusLabel = new StatusLine(QStringLiteral("statusLabel"), {}, parent);
}

QLayout* SettingsViewController::makeForm(QWidget* parent) const
{
    auto* form = new QVBoxLayout;
    form->setSpacing(12);
    const auto addHeader = [=](const QString& title) { form->addWidget(makeSectionHeader(title, parent)); };
    const auto addRow = [=](const QString& label, QWidget* field) {
        form->addLayout(formRow(label, field, rowMetrics));
    };

    addHeader(QStringLiteral("Nelo Core"));
    form->addWidget(m_coreAutoDiscoveryButton, 0, Qt::AlignLeft);
    addRow(QStringLiteral("Core URL (optional)"), m_coreURLField);
    form->addWidget(makeSeparator(parent));
    addHeader(QStringLiteral("Chat"));
    addRow(QStringLiteral("Mode"), m_chatModePopup);
    addRow(QStringLiteral("Local Model"), m_localModelPopup);
    form->addWidget(makeSeparator(parent));
    addHeader(QStringLiteral("Cloud"));
    addRow(QStringLiteral("Provider"), m_cloudProviderPopup);
    addRow(QStringLiteral("Cloud Model"), m_cloudModelField);
    addRow(QStringLiteral("Cloud API Key"), m_cloudAPIKeyField);
    addRow(QStringLiteral("Catalog URL"), m_cloudSkillsCatalogURLField);
    form->addWidget(makeSeparator(parent));
    addHeader(QStringLiteral("Tovani"));
    form->addWidget(m_autoTovaniButton, 0, Qt::AlignLeft);
    addRow(QStringLiteral("Tovani Path"), m_tovaniPathField);
    return form;
}

QLayout* SettingsViewController::makeButtonRow(QWidget* parent)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    const auto addButton = [=, this](const QString& title, void (SettingsViewController::*action)()) {
        row->addWidget(makeButton(title, parent, this, action));
    };
    addButton(QStringLiteral("Save"), &SettingsViewController::saveSettings);
    addButton(QStringLiteral("Reload"), &SettingsViewController::loadSettings);
    addButton(QStringLiteral("Refresh Catalog"), &SettingsViewController::refreshCloudCatalog);
    row->addStretch();
    return row;
}

void SettingsViewController::viewDidLoad()
{
    ViewController::viewDidLoad();
    loadSettings();
}

void SettingsViewController::loadSettings()
{
    const BackendReply reply(NeloBackend::call("load_nelo_settings"));
    if (reply.isError()) {
        m_statusLabel->showAndAnnounce(reply.text());
        return;
    }
    showSettings(readSettingsDocument(reply.object()));
    m_statusLabel->showAndAnnounce(QStringLiteral("Settings loaded."));
}

void SettingsViewController::cloudProviderChanged()
{
    takeTypedKey();
    m_currentCloudProvider = m_cloudProviderPopup->titleOfSelectedItem(Provider::all().constFirst());
    showText(m_cloudAPIKeyField, m_providerKeyCache.value(m_currentCloudProvider));
}

void SettingsViewController::saveSettings()
{
    m_statusLabel->showAndAnnounce(save().status);
}

void SettingsViewController::refreshCloudCatalog()
{
    const SaveReport saved = save();
    const BackendReply reply(NeloBackend::call("refresh_cloud_skills_via_core"));
    m_statusLabel->showAndAnnounce(catalogStatus(saved, reply));
}

SaveReport SettingsViewController::save()
{
    takeTypedKey();
    const BackendReply reply(NeloBackend::call("save_nelo_settings", {toJson(shownSettings())}));
    // The keys are stored also when the backend call has failed.
    return saveReport(reply, ApiKeyStore().setKeys(m_providerKeyCache));
}

void SettingsViewController::showSettings(const SettingsDocument& settings)
{
    m_coreAutoDiscoveryButton->setChecked(settings.coreAutoDiscovery);
    showText(m_coreURLField, settings.coreUrl);
    m_chatModePopup->selectItemWithTitle(settings.chatMode);
    selectOrAppend(m_localModelPopup, settings.localModel);
    m_cloudProviderPopup->selectItemWithTitle(settings.cloudProvider);
    m_currentCloudProvider = settings.cloudProvider;
    showText(m_cloudModelField, settings.cloudModel);
    m_providerKeyCache = storedKeys();
    if (!settings.cloudApiKey.isEmpty())
        m_providerKeyCache[m_currentCloudProvider] = settings.cloudApiKey;
    showText(m_cloudAPIKeyField, m_providerKeyCache.value(m_currentCloudProvider));
    m_autoTovaniButton->setChecked(settings.autoDownloadTovani);
    showText(m_tovaniPathField, settings.tovaniPath);
    showText(m_cloudSkillsCatalogURLField, settings.cloudSkillsCatalogUrl);
}

SettingsDocument SettingsViewController::shownSettings() const
{
    const QString provider = m_cloudProviderPopup->titleOfSelectedItem(Provider::all().constFirst());
    return {
        .coreAutoDiscovery = m_coreAutoDiscoveryButton->isChecked(),
        .coreUrl = m_coreURLField->text(),
        .chatMode = m_chatModePopup->titleOfSelectedItem(chatModes().constFirst()),
        .localModel = m_localModelPopup->titleOfSelectedItem(localModels().constFirst()),
        .cloudProvider = provider,
        .cloudModel = m_cloudModelField->text(),
        .cloudApiKey = m_providerKeyCache.value(provider),
        .autoDownloadTovani = m_autoTovaniButton->isChecked(),
        .tovaniPath = m_tovaniPathField->text(),
        .cloudSkillsCatalogUrl = m_cloudSkillsCatalogURLField->text(),
    };
}

void SettingsViewController::takeTypedKey()
{
    m_providerKeyCache[m_currentCloudProvider] = m_cloudAPIKeyField->text().trimmed();
}
