#include "models/ModelColumns.h"

namespace {

/// A list of strings is told item by item; anything else by its text.
QString tagsText(const Json& row)
{
    const QStringList tags = textsOf(row, "tags");
    const bool isEmptyList = row.contains("tags") && row["tags"] == Json::array();
    return tags.isEmpty() && !isEmptyList ? textOf(row, "tags") : tags.join(u',');
}

/// A boolean is told as yes or no; anything else by its text.
QString installedText(const Json& row)
{
    const auto installed = row.find("installed");
    if (installed == row.end() || !installed->is_boolean())
        return textOf(row, "installed");
    return *installed == true ? QStringLiteral("yes") : QStringLiteral("no");
}

} // namespace

std::vector<JsonColumn> ModelColumns::remoteModels()
{
    return {
        {"name", QStringLiteral("Model"), 220},
        {"provider", QStringLiteral("Provider"), 100},
        {"size", QStringLiteral("Size"), 90},
        {"installed", QStringLiteral("Installed"), 90, installedText},
        {"tags", QStringLiteral("Tags"), 220, tagsText},
    };
}

std::vector<JsonColumn> ModelColumns::localModels()
{
    return {
        {"name", QStringLiteral("Model"), 220},
        {"size", QStringLiteral("Size"), 100},
        {"modifiedAt", QStringLiteral("Updated"), 180},
    };
}

std::vector<JsonColumn> ModelColumns::downloadTasks()
{
    return {
        {"id", QStringLiteral("Task ID"), 120},        {"model", QStringLiteral("Model"), 160},
        {"status", QStringLiteral("Status"), 90},      {"updatedAt", QStringLiteral("Updated"), 180},
        {"lastLine", QStringLiteral("Last Log"), 260},
    };
}
