#include "ui/PopUpButton.h"

#include "support/TestCase.h"

#include <QAbstractItemView>
#include <QSignalSpy>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

/// A pop-up button with titles from outside.
class TestPopUpButton final : public TestCase
{
    Q_OBJECT

private slots:
    void selectsByItsExactTitle()
    {
        PopUpButton popup;
        popup.addItems(titles());
        const QSignalSpy action(&popup, &QComboBox::activated);
        for (const QString& title : {u"Cloud"_s, u"clou"_s, u"c*"_s, QString()}) {
            popup.selectItemWithTitle(u"cloud"_s);
            popup.selectItemWithTitle(title);
            QCOMPARE(popup.currentIndex(), -1);
        }
        popup.selectItemWithTitle(u"cloud"_s);
        QCOMPARE(popup.currentIndex(), 1);
        QCOMPARE(action.count(), 0); // only the user fires its action
        QTest::keyClick(&popup, Qt::Key_Up);
        QCOMPARE(action.count(), 1);
    }

    void hasADefaultTitleWhenNothingIsSelected()
    {
        PopUpButton popup;
        popup.addItems(titles() + QStringList{QString()});
        QCOMPARE(popup.titleOfSelectedItem(u"none"_s), u"local"_s);
        popup.selectItemWithTitle(QString());
        QCOMPARE(popup.titleOfSelectedItem(u"none"_s), QString()); // an empty title is a title
        popup.setCurrentIndex(-1);
        QCOMPARE(popup.titleOfSelectedItem(u"none"_s), u"none"_s);
    }

    void aRepeatedKeyAfterTheListIsClosedDoesNothing()
    {
        PopUpButton popup;
        popup.addItems(titles());
        popup.show();
        const QSignalSpy action(&popup, &QComboBox::activated);
        for (int opening = 1; opening <= 2; ++opening) {
            popup.showPopup();
            QTest::keyClick(popup.view(), Qt::Key_Down);
            QTest::keyClick(popup.view(), Qt::Key_Return);
            QTest::keyClick(popup.view(), Qt::Key_Return); // Qt sends it again while assistive technology is running
            QCOMPARE(action.count(), opening);
        }
    }

    void showsATitleOnOneLine()
    {
        QCOMPARE(pictureOf(u"one\ntwo"_s), pictureOf(u"one two"_s));
        PopUpButton popup;
        popup.addItem(u"one\ntwo"_s);
        QCOMPARE(popup.currentText(), u"one\ntwo"_s);
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
        QVERIFY(!wheel.isAccepted()); // the form around it scrolls
        QCOMPARE(popup.focusPolicy(), Qt::StrongFocus);
    }

private:
    static QStringList titles() { return {u"local"_s, u"cloud"_s}; }

    static QImage pictureOf(const QString& title)
    {
        PopUpButton popup;
        popup.addItem(title);
        popup.resize(220, 30);
        return popup.grab().toImage();
    }
};

QTEST_MAIN(TestPopUpButton)
#include "TestPopUpButton.moc"
