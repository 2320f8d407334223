#pragma once

#include <QString>

/// The assistant's greeting, with which a conversation begins.
inline constexpr QStringView neloWelcomeMessage = u"您好，nelo为您服务，我为您提供最简单的AI入口服务。";

/// Whether `text`, which has no blanks around it, is nothing but a greeting, which is answered here and now.
bool isLocalGreeting(const QString& text);
