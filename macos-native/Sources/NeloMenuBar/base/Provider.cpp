#include "base/Provider.h"

#include <algorithm>
#include <array>

namespace {

struct KnownProvider
{
    QLatin1StringView name;
    QLatin1StringView modelPrefix;
    const char* environmentVariable = nullptr;
    QLatin1StringView publicEndpoint;
};

/// The first provider is the default. Every model's name begins with its empty prefix, so it is compared last.
constexpr std::array providers{
    KnownProvider{QLatin1StringView("openai"), QLatin1StringView(), "NELO_OPENAI_BASE_URL",
                  QLatin1StringView("https://api.openai.com/v1/chat/completions")},
    KnownProvider{QLatin1StringView("deepseek"), QLatin1StringView("deepseek"), "NELO_DEEPSEEK_BASE_URL",
                  QLatin1StringView("https://api.deepseek.com/chat/completions")},
    KnownProvider{QLatin1StringView("kimi"), QLatin1StringView("moonshot"), "NELO_KIMI_BASE_URL",
                  QLatin1StringView("https://api.moonshot.cn/v1/chat/completions")},
};

} // namespace

QStringList Provider::all()
{
    QStringList names;
    for (const KnownProvider& provider : providers)
        names.append(provider.name);
    return names;
}

QString Provider::ofModel(const QString& model)
{
    const auto serving = std::find_if(providers.rbegin(), providers.rend(), [&model](const KnownProvider& provider) {
        return model.startsWith(provider.modelPrefix);
    });
    return serving->name;
}

QString Provider::endpoint(const QString& provider)
{
    const auto* const found = std::find_if(providers.begin(), providers.end(),
                                           [&provider](const KnownProvider& known) { return known.name == provider; });
    const KnownProvider& known = found == providers.end() ? providers.front() : *found;
    if (qEnvironmentVariableIsSet(known.environmentVariable))
        return qEnvironmentVariable(known.environmentVariable);
    return known.publicEndpoint;
}

std::optional<QUrl> Provider::parseEndpoint(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() ? std::optional(url) : std::nullopt; // an empty text is no valid URL either
}
