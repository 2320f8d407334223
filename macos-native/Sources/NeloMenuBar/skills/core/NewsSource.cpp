#include "skills/core/NewsSource.h"

bool isSocialMediaAlert(const Json& skill)
{
    return textOf(skill, "name").trimmed() == QStringLiteral("social-media-alert");
}

QString newsSourceTitle(const Json& source)
{
    return u'[' + textOf(source, "bucket") + QStringLiteral("] ") + textOf(source, "name") + QStringLiteral(" (")
           + textOf(source, "type") + QStringLiteral(") id=") + textOf(source, "id") + QStringLiteral(" enabled=")
           + textOf(source, "enabled");
}

QString newsSourceSummary(std::size_t count)
{
    return QString::number(count) + QStringLiteral(" sources.");
}

Json toJson(const NewNewsSource& source)
{
    return {
        {"type", source.type},         {"id", source.id.trimmed()},   {"name", source.name.trimmed()},
        {"url", source.url.trimmed()}, {"enabled", source.isEnabled},
    };
}
