#pragma once

#include <QString>
#include <QUrl>

#include <optional>

/// The provider that serves `model`, by which its key is kept: "deepseek" and "kimi" by the beginning of the name,
/// "openai" for every other.
QString providerOfModel(const QString& model);

/// The text of the URL to which requests for `provider` go: what the environment variable NELO_DEEPSEEK_BASE_URL,
/// NELO_KIMI_BASE_URL or NELO_OPENAI_BASE_URL holds, as it stands and even when empty, otherwise the provider's public
/// endpoint. A provider that is not known goes where "openai" goes.
QString chatEndpoint(const QString& provider);

/// The URL of an endpoint's text; nothing when the text is empty or not strictly a URL. Whether anything can be reached
/// there shows when it is asked.
std::optional<QUrl> parseChatEndpoint(const QString& text);
