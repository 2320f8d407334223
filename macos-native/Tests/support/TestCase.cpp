#include "support/TestCase.h"

#include <QRegularExpression>

void TestCase::init()
{
    // Allowed are the messages of the offscreen platform about what only a screen can do, and those about a script that
    // a font does not have.
    QTest::failOnWarning(
        QRegularExpression(QStringLiteral("^(?!This plugin does not support |  OpenType support missing for |"
                                          "QObject::connect: No such signal QPlatformNativeInterface::systemTray)")));
    for (const Member& member : m_members)
        member.make();
}

void TestCase::cleanup()
{
    for (auto member = m_members.rbegin(); member != m_members.rend(); ++member)
        member->drop();
}
