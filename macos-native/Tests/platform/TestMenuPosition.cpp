#include "platform/XEmbedTray.h"

#include "support/TestCase.h"

constexpr QRect screen(0, 0, 1280, 900);
constexpr QSize menu(200, 150);

class TestMenuPosition final : public TestCase
{
    Q_OBJECT

private slots:
    void isBelowAnIconAtTheTop() { QCOMPARE(menuPosition({1200, 0, 24, 24}, menu, screen), QPoint(1200, 24)); }

    void isAboveAnIconAtTheBottom() { QCOMPARE(menuPosition({1200, 876, 24, 24}, menu, screen), QPoint(1200, 726)); }

    void isOnTheScreenOfItsIcon()
    {
        const QRect below(0, 900, 1280, 900);
        QCOMPARE(menuPosition({10, 900, 24, 24}, menu, below), QPoint(10, 924));
        QCOMPARE(menuPosition({10, 1776, 24, 24}, menu, below), QPoint(10, 1626));
    }
};

QTEST_APPLESS_MAIN(TestMenuPosition)
#include "TestMenuPosition.moc"
