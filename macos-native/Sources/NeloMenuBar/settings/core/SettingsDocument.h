#pragma once

#include "base/Json.h"

#include <QStringList>

/// Returns the chat modes that the form offers. A document can have no other.
QStringList chatModes();

/// Returns the local models that the form offers. A document may have another one.
QStringList localModels();

/// Returns the default path of the local component: an absolute path in the home folder.
QString defaultTovaniPath();

/// The settings that the backend module stores, as the form shows them.
struct SettingsDocument
{
    bool coreAutoDiscovery = true;
    QString coreUrl;
    QString chatMode;
    QString localModel;
    QString cloudProvider;
    QString cloudModel;
    QString cloudApiKey;
    bool autoDownloadTovani = true;
    QString tovaniPath;
    QString cloudSkillsCatalogUrl;

    bool operator==(const SettingsDocument&) const = default;
};

/// Reads a document leniently. A missing section or member has its default. A value that should be a string is
/// described as text. A mode or a provider that the form does not offer is replaced by the first one that it offers.
/// Anything but an object is read as an empty object.
SettingsDocument readSettingsDocument(const Json& document);

/// Returns the document to save. Texts that the user types lose the white space around them, and an empty path is
/// replaced by the default path.
Json toJson(const SettingsDocument& settings);
