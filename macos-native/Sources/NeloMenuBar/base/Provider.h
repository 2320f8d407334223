#pragma once

#include <QStringList>
#include <QUrl>

#include <optional>

/// The cloud providers of chat models. A provider's name identifies it; its API key is stored under this name.
namespace Provider {

/// The model that is used unless the user chooses another; "openai" serves it.
inline const QString defaultModel = QStringLiteral("gpt-4o-mini");

/// Returns the names of all providers, the default one first.
QStringList all();

/// Returns the provider that serves `model`: "deepseek" and "kimi" by the prefix of the model's name, "openai" for
/// every other.
QString ofModel(const QString& model);

/// Returns the text of the URL to which requests for `provider` go. This is what the environment variable
/// NELO_OPENAI_BASE_URL, NELO_DEEPSEEK_BASE_URL or NELO_KIMI_BASE_URL holds, unchanged and even when it is empty. When
/// the variable is not set, it is the provider's public endpoint. An unknown provider counts as "openai".
QString endpoint(const QString& provider);

/// Parses the text of an endpoint. Returns nothing when the text is empty or not strictly a URL.
std::optional<QUrl> parseEndpoint(const QString& text);

} // namespace Provider
