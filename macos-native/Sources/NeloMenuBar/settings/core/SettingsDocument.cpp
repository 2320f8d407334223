#include "settings/core/SettingsDocument.h"

#include "base/Provider.h"

#include <QDir>

namespace {

constexpr int documentVersion = 1;

/// Returns whether a setting is on. It is on unless the document has false or the number 0 there.
bool isOn(const Json& section, const char* key)
{
    const auto member = section.find(key);
    return member == section.end() || (*member != false && *member != 0);
}

/// Returns `title` if it is one of `titles`, or else the first of them.
QString offered(const QString& title, const QStringList& titles)
{
    return titles.contains(title) ? title : titles.first();
}

} // namespace

QStringList chatModes()
{
    return {QStringLiteral("local"), QStringLiteral("cloud")};
}

QStringList localModels()
{
    return {QStringLiteral("qwen3:30b"), QStringLiteral("qwen3:8b"), QStringLiteral("qwen3-coder:30b")};
}

QString defaultTovaniPath()
{
    return QDir::homePath() + QStringLiteral("/.nelo/tovani");
}

SettingsDocument readSettingsDocument(const Json& document)
{
    const Json core = objectOf(document, "core");
    const Json chat = objectOf(document, "chat");
    const Json tovani = objectOf(document, "tovani");
    const Json cloudSkills = objectOf(document, "cloud_skills");
    return {
        .coreAutoDiscovery = isOn(core, "auto_discovery"),
        .coreUrl = textOf(core, "url"),
        .chatMode = offered(textOf(chat, "mode"), chatModes()),
        .localModel = textOf(chat, "local_model", localModels().constFirst()),
        .cloudProvider = offered(textOf(chat, "cloud_provider"), Provider::all()),
        .cloudModel = textOf(chat, "cloud_model", Provider::defaultModel),
        .cloudApiKey = textOf(chat, "cloud_api_key"),
        .autoDownloadTovani = isOn(tovani, "auto_download_on_chat"),
        .tovaniPath = textOf(tovani, "path", defaultTovaniPath()),
        .cloudSkillsCatalogUrl = textOf(cloudSkills, "catalog_url"),
    };
}

Json toJson(const SettingsDocument& settings)
{
    const QString tovaniPath = settings.tovaniPath.trimmed();
    return {
        {"version", documentVersion},
        {"core",
         {
             {"url", settings.coreUrl.trimmed()},
             {"auto_discovery", settings.coreAutoDiscovery},
         }},
        {"chat",
         {
             {"mode", settings.chatMode},
             {"local_model", settings.localModel},
             {"cloud_provider", settings.cloudProvider},
             {"cloud_model", settings.cloudModel.trimmed()},
             {"cloud_api_key", settings.cloudApiKey},
         }},
        {"tovani",
         {
             {"auto_download_on_chat", settings.autoDownloadTovani},
             {"path", tovaniPath.isEmpty() ? defaultTovaniPath() : tovaniPath},
         }},
        {"cloud_skills",
         {
             {"catalog_url", settings.cloudSkillsCatalogUrl.trimmed()},
         }},
    };
}
