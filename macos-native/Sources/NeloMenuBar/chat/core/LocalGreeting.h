#pragma once

#include <QString>

/// The assistant's greeting, with which a conversation begins.
inline const QString neloWelcomeMessage = QStringLiteral("您好，nelo为您服务，我为您提供最简单的AI入口服务。");

/// Returns whether `text`, which has no blanks around it, is nothing but a greeting. The chat answers it itself.
bool isLocalGreeting(const QString& text);
