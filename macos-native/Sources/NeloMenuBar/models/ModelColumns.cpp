#include "models/ModelColumns.h"

namespace {

/// Returns the strings of a list with commas, or the text of any other value.
QString tagsText(const Json& row)
{
    const QStringList tags = textsOf(row, "tags");
    const bool isEmptyList = row.contains("tags") && row["tags"] == Json::array();
    return tags.isEmpty() && !isEmptyList ? textOf(row, "tags") : tags.join(u',');
}

/// Returns "yes" or "no" for a boolean, or the text of any other value.
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
