#pragma once

#include <QRegularExpression>
#include <QTest>

/// For every test's `init()`: a message that nobody expected fails the test. Allowed are the messages of the offscreen
/// platform about what only a screen can do, and those about a script that a font does not have.
inline void failOnUnexpectedWarning()
{
    QTest::failOnWarning(
        QRegularExpression(QStringLiteral("^(?!This plugin does not support |  OpenType support missing for |"
                                          "QObject::connect: No such signal QPlatformNativeInterface::systemTray)")));
}
