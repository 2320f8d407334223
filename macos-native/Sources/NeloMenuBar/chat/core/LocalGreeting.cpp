#include "chat/core/LocalGreeting.h"

#include <QStringList>

bool isLocalGreeting(const QString& text)
{
    static const QStringList greetings{QStringLiteral("你好"), QStringLiteral("您好"), QStringLiteral("hello"),
                                       QStringLiteral("hi"),   QStringLiteral("嗨"),   QStringLiteral("在吗")};
    return greetings.contains(text.toLower());
}
