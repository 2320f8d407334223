#pragma once

#include "base/Json.h"

#include <QStringList>

/// The titles that the form offers. A document can select no other chat mode.
QStringList chatModes();
QStringList localModels();

/// Where the local component lives unless the user says otherwise: an absolute path in the home folder.
QString defaultTovaniPath();

/// The settings that the backend module keeps, as the form shows them.
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

/// Reads a document leniently: what is missing or of an unexpected type has its default, text of another type is
/// described, a mode or provider that is not offered is the first that is. Anything but an object reads as an empty
/// one.
SettingsDocument readSettingsDocument(const Json& document);

/// The document to save: texts typed by hand without the white space around them, and the default path for an empty
/// one.
Json toJson(const SettingsDocument& settings);
