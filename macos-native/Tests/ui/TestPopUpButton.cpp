#include "ui/PopUpButton.h"

#include "support/Warnings.h"

#include <QAbstractItemView>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

namespace {

QStringList titles()
{
    return {QStringLiteral("local"), QStringLiteral("cloud")};
}

QImage pictureOf(const QString& title)
{
    PopUpButton popup;
    popup.addItem(title);
    popup.resize(220, 30);
    return popup.grab().toImage();
}

} // namespace

/// A pop-up button with titles from outside.
class TestPopUpButton final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void selectsByItsExactTitle_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("index");
        QTest::newRow("a title it has") << QStringLiteral("cloud") << 1;
        QTest::newRow("other letter case") << QStringLiteral("Cloud") << -1;
        QTest::newRow("a part of a title") << QStringLiteral("clou") << -1;
        QTest::newRow("a pattern") << QStringLiteral("c*") << -1;
        QTest::newRow("nothing") << QString() << -1;
    }

    void selectsByItsExactTitle()
    {
        QFETCH(QString, title);
        QFETCH(int, index);
        PopUpButton popup;
        popup.addItems(titles());
        popup.selectItemWithTitle(title);
        QCOMPARE(popup.currentIndex(), index);
    }

    void saysWhenNothingIsSelected()
    {
        PopUpButton popup;
        popup.addItems(titles() + QStringList{QString()});
        QCOMPARE(popup.titleOfSelectedItem(QStringLiteral("none")), QStringLiteral("local"));
        popup.selectItemWithTitle(QString());
        QCOMPARE(popup.titleOfSelectedItem(QStringLiteral("none")), QString()); // an empty title is one
        popup.setCurrentIndex(-1);
        QCOMPARE(popup.titleOfSelectedItem(QStringLiteral("none")), QStringLiteral("none"));
    }

    void onlyTheUserFiresItsAction()
    {
        PopUpButton popup;
        popup.addItems(titles());
        const QSignalSpy action(&popup, &QComboBox::activated);
        popup.selectItemWithTitle(QStringLiteral("cloud"));
        QCOMPARE(action.count(), 0);
        QTest::keyClick(&popup, Qt::Key_Up);
        QCOMPARE(action.count(), 1);
    }

    void aKeyThatHasClosedTheListDoesNothingMore()
    {
        PopUpButton popup;
        popup.addItems(titles());
        popup.show();
        const QSignalSpy action(&popup, &QComboBox::activated);
        for (int opening = 1; opening <= 2; ++opening) {
            popup.showPopup();
            QTest::keyClick(popup.view(), Qt::Key_Down);
            QTest::keyClick(popup.view(), Qt::Key_Return);
            QTest::keyClick(popup.view(), Qt::Key_Return); // as it comes again while assistive technology listens
            QCOMPARE(action.count(), opening);
        }
    }

    void showsATitleOnOneLine()
    {
        QCOMPARE(pictureOf(QStringLiteral("one\ntwo")), pictureOf(QStringLiteral("one two")));
        PopUpButton popup;
        popup.addItem(QStringLiteral("one\ntwo"));
        QCOMPARE(popup.currentText(), QStringLiteral("one\ntwo"));
    }

    void elidesATitleThatIsTooLong()
    {
        const QImage picture = pictureOf(QString(60, u'W'));
        bool isElided = false;
        for (int shown = 1; shown < 60; ++shown)
            isElided = isElided || picture == pictureOf(QString(shown, u'W') + u'…');
        QVERIFY(isElided);
    }

    void theWheelChoosesNothing()
    {
        PopUpButton popup;
        popup.addItems(titles());
        popup.show();
        QVERIFY(QTest::qWaitForWindowExposed(&popup));
        QWheelEvent wheel({5, 5}, popup.mapToGlobal(QPointF(5, 5)), {}, {0, -120}, Qt::NoButton, {}, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(&popup, &wheel);
        QCOMPARE(popup.currentIndex(), 0);
        QVERIFY(!wheel.isAccepted()); // the form around it takes it
        QCOMPARE(popup.focusPolicy(), Qt::StrongFocus);
    }
};

QTEST_MAIN(TestPopUpButton)
#include "TestPopUpButton.moc"
