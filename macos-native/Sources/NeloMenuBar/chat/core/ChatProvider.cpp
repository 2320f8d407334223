#include "chat/core/ChatProvider.h"

#include <algorithm>
#include <array>

namespace {

struct Provider
{
    QLatin1StringView name;
    const char* environmentVariable = nullptr;
    QLatin1StringView publicEndpoint;
};

constexpr std::array providers{
    Provider{QLatin1StringView("openai"), "NELO_OPENAI_BASE_URL",
             QLatin1StringView("https://api.openai.com/v1/chat/completions")},
    Provider{QLatin1StringView("deepseek"), "NELO_DEEPSEEK_BASE_URL",
             QLatin1StringView("https://api.deepseek.com/chat/completions")},
    Provider{QLatin1StringView("kimi"), "NELO_KIMI_BASE_URL",
             QLatin1StringView("https://api.moonshot.cn/v1/chat/completions")},
};

const Provider& providerNamed(const QString& name)
{
    const auto* const found = std::find_if(providers.begin(), providers.end(),
                                           [&name](const Provider& provider) { return provider.name == name; });
    return found == providers.end() ? providers.front() : *found;
}

} // namespace

QString providerOfModel(const QString& model)
{
    if (model.startsWith(QLatin1StringView("deepseek")))
        return QStringLiteral("deepseek");
    if (model.startsWith(QLatin1StringView("moonshot")))
        return QStringLiteral("kimi");
    return QStringLiteral("openai");
}

QString chatEndpoint(const QString& provider)
{
    const Provider& known = providerNamed(provider);
    if (qEnvironmentVariableIsSet(known.environmentVariable))
        return qEnvironmentVariable(known.environmentVariable);
    return known.publicEndpoint;
}

std::optional<QUrl> parseChatEndpoint(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() ? std::optional(url) : std::nullopt; // an empty text is no valid URL either
}
