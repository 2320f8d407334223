#include "chat/transcript/TranscriptView.h"

#include "support/TestCase.h"

#include <QAccessible>
#include <QScrollBar>

using namespace Qt::StringLiterals;

/// What assistive technology reads and hears of a transcript.
class TestTranscriptAccessible final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        m_view->append(Speaker::User, u"question"_s);
        m_view->append(Speaker::Nelo, u"answer\nin two lines"_s);
        m_view->append(Speaker::User, u"thanks"_s);
        m_view->resize(700, 400);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowActive(&*m_view));
    }

    void bubblesAreItsChildrenInOrder()
    {
        QVERIFY(list());
        QCOMPARE(list()->role(), QAccessible::List);
        QCOMPARE(list()->text(QAccessible::Name), u"Conversation"_s);
        QCOMPARE(list()->childCount(), 3);
        const QStringList names{u"question"_s, u"answer\nin two lines"_s, u"thanks"_s};
        for (int index = 0; index < 3; ++index) {
            QAccessibleInterface* bubble = list()->child(index);
            QVERIFY(bubble && bubble->isValid());
            bubble->setText(QAccessible::Name, u"other"_s); // is ignored
            QCOMPARE(bubble->text(QAccessible::Name), names[index]);
            QCOMPARE(bubble->text(QAccessible::Description), index == 1 ? u"Nelo"_s : u"Me"_s);
            QCOMPARE(bubble->text(QAccessible::Value), QString());
            QCOMPARE(bubble->role(), QAccessible::ListItem);
            QCOMPARE(bubble->childCount(), 0);
            QCOMPARE(bubble->child(0), nullptr);
            QCOMPARE(bubble->childAt(bubble->rect().center().x(), bubble->rect().center().y()), nullptr);
            QCOMPARE(bubble->indexOfChild(list()), -1);
            QCOMPARE(bubble->parent(), list());
            QCOMPARE(bubble->window(), m_view->windowHandle());
            QCOMPARE(list()->indexOfChild(bubble), index);
            const QRect rect = m_view->bubbleRect(index);
            QCOMPARE(bubble->rect(), QRect(m_view->viewport()->mapToGlobal(rect.topLeft()), rect.size()));
            QVERIFY(bubble->state().readOnly && bubble->state().multiLine && bubble->state().focusable);
        }
        QCOMPARE(list()->child(3), nullptr);
        QCOMPARE(list()->child(-1), nullptr);
        QCOMPARE(list()->indexOfChild(list()), -1);
        QAccessibleInterface* const first = list()->child(0);
        m_view->append(Speaker::Nelo, u"more"_s);
        QCOMPARE(list()->child(0), first); // the same object
        QCOMPARE(list()->child(3)->text(QAccessible::Name), u"more"_s);
    }

    void findsTheBubbleUnderAPoint()
    {
        const QPoint inside = list()->child(1)->rect().center();
        QCOMPARE(list()->childAt(inside.x(), inside.y()), list()->child(1));
        const QPoint beside(m_view->mapToGlobal(QPoint(3, 0)).x(), list()->child(0)->rect().center().y());
        QCOMPARE(list()->childAt(beside.x(), beside.y()), nullptr);
    }

    void tellsWhichBubblesAreInSight()
    {
        for (int number = 0; number < 20; ++number)
            m_view->append(Speaker::Nelo, u"more"_s);
        QVERIFY(list()->child(0)->state().offscreen);
        QVERIFY(!list()->child(22)->state().offscreen);
        m_view->verticalScrollBar()->setValue(0);
        QVERIFY(!list()->child(0)->state().offscreen);
        QVERIFY(list()->child(22)->state().offscreen);

        QVERIFY(!list()->child(0)->state().invisible);
        m_view->hide();
        QVERIFY(list()->child(0)->state().invisible);
    }

    void tellsWhichBubbleHasTheKeyboard()
    {
        m_view->setFocus();
        m_view->setCurrentBubble(1);
        QVERIFY(list()->child(1)->state().focused);
        QVERIFY(!list()->child(0)->state().focused);
        QCOMPARE(list()->focusChild(), list()->child(1));
        m_view->clearFocus();
        QVERIFY(!list()->child(1)->state().focused);
        QCOMPARE(list()->focusChild(), nullptr);
    }

    void bubblesThatAreGoneAreInvalid()
    {
        QAccessibleInterface* const last = list()->child(2);
        m_view->clear();
        QVERIFY(!last->isValid());
        QVERIFY(last->state().invalid);
        QCOMPARE(last->text(QAccessible::Name), QString());
        QCOMPARE(last->rect(), QRect());
        QCOMPARE(list()->indexOfChild(last), -1);
        QCOMPARE(list()->childCount(), 0);
    }

    void aBubbleGoesWithItsView()
    {
        auto view = std::make_unique<TranscriptView>();
        view->append(Speaker::User, u"question"_s);
        const QAccessible::Id id = QAccessible::uniqueId(QAccessible::queryAccessibleInterface(view.get())->child(0));
        view.reset();
        QCOMPARE(QAccessible::accessibleInterface(id), nullptr); // Qt has dropped the interface
    }

private:
    QAccessibleInterface* list() const { return QAccessible::queryAccessibleInterface(&*m_view); }

    Fresh<TranscriptView> m_view{this};
};

QTEST_MAIN(TestTranscriptAccessible)
#include "TestTranscriptAccessible.moc"
