#pragma once

#include <QRegularExpression>
#include <QTest>

/// For every test's `init()`: a message that nobody expected fails the test. The offscreen platform tells what a screen
/// would do and it cannot, and fonts which script they do not know; that is no concern of ours.
inline void failOnUnexpectedWarning()
{
    QTest::failOnWarning(
        QRegularExpression(QStringLiteral("^(?!This plugin does not support |  OpenType support missing for |"
                                          "QObject::connect: No such signal QPlatformNativeInterface::systemTray)")));
}
