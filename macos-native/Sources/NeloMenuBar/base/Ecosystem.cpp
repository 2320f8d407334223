#include "base/Ecosystem.h"

#include <algorithm>
#include <array>

namespace {

struct KnownEcosystem
{
    QLatin1StringView name;
    QLatin1StringView folder;
    QLatin1StringView configFile;
};

constexpr std::array ecosystems{
    KnownEcosystem{QLatin1StringView("openclaw"), QLatin1StringView("/.openclaw/"), QLatin1StringView("openclaw.json")},
    KnownEcosystem{QLatin1StringView("codex"), QLatin1StringView("/.codex/"), QLatin1StringView("config.json")},
    KnownEcosystem{QLatin1StringView("kimi"), QLatin1StringView("/.kimi/"), QLatin1StringView("config.json")},
};

const KnownEcosystem& ecosystemNamed(const QString& name)
{
    const auto* const found = std::find_if(ecosystems.begin(), ecosystems.end(),
                                           [&name](const KnownEcosystem& known) { return known.name == name; });
    return found == ecosystems.end() ? ecosystems.front() : *found;
}

} // namespace

QStringList Ecosystem::all()
{
    QStringList names;
    for (const KnownEcosystem& ecosystem : ecosystems)
        names.append(ecosystem.name);
    return names;
}

QString Ecosystem::configPath(const QString& ecosystem, const QString& home)
{
    const KnownEcosystem& known = ecosystemNamed(ecosystem);
    return home + known.folder + known.configFile;
}

QString Ecosystem::workspacePath(const QString& ecosystem, const QString& agentId, const QString& home)
{
    return home + ecosystemNamed(ecosystem).folder + QStringLiteral("agents/") + agentId;
}
