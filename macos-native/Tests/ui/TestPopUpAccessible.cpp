#include "ui/PopUpButton.h"

#include "support/TestCase.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QLabel>

using namespace Qt::StringLiterals;

/// What assistive technology reads of a pop-up button.
class TestPopUpAccessible final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        m_popup = new PopUpButton(&*m_window);
        m_popup->addItems({u"local"_s, u"cloud 云"_s});
        m_popup->setCurrentIndex(1);
    }

    void itsNameIsTheCaption()
    {
        auto* caption = new QLabel(u"Mode"_s, &*m_window);
        caption->setBuddy(m_popup);
        QCOMPARE(popup()->role(), QAccessible::ComboBox);
        QCOMPARE(popup()->text(QAccessible::Name), u"Mode"_s);
        QCOMPARE(popup()->relations(QAccessible::Label).front().first->object(), caption);
    }

    void withoutACaptionItHasANameOfItsOwn()
    {
        m_popup->setAccessibleName(u"Model"_s);
        QCOMPARE(popup()->text(QAccessible::Name), u"Model"_s);
    }

    void theSelectedTitleIsItsValueAndItsText()
    {
        QCOMPARE(popup()->text(QAccessible::Value), u"cloud 云"_s);
        QAccessibleTextInterface* text = popup()->textInterface();
        QVERIFY(text);
        QCOMPARE(text->characterCount(), 7);
        QCOMPARE(text->text(0, 7), u"cloud 云"_s);
        QCOMPARE(text->text(6, 7), u"云"_s);
        int start = -1;
        int end = -1;
        QCOMPARE(text->attributes(3, &start, &end), QString());
        QCOMPARE(std::pair(start, end), std::pair(0, 7)); // one format
        m_window->show();
        QVERIFY(!popup()->rect().isEmpty());
        QCOMPARE(text->characterRect(3), popup()->rect());
        QCOMPARE(text->offsetAtPoint(popup()->rect().center()), -1);
        m_popup->setCurrentIndex(-1);
        QCOMPARE(text->characterCount(), 0);
        QCOMPARE(text->text(0, 0), QString());
    }

    void itsTextHasNeitherACursorNorASelection()
    {
        QAccessibleTextInterface* text = popup()->textInterface();
        text->setCursorPosition(3);
        QCOMPARE(text->cursorPosition(), 0);
        text->addSelection(0, 5);
        text->setSelection(0, 1, 5);
        text->removeSelection(0);
        text->scrollToSubstring(0, 5); // nothing scrolls
        QCOMPARE(text->selectionCount(), 0);
    }

    void theListIsItsChild()
    {
        QCOMPARE(popup()->childCount(), 1);
        QAccessibleInterface* list = popup()->child(0);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->childCount(), 2);
        QCOMPARE(list->child(1)->text(QAccessible::Name), u"cloud 云"_s);
        QCOMPARE(popup()->indexOfChild(list), 0);
        QCOMPARE(popup()->indexOfChild(popup()), -1);
        QCOMPARE(popup()->child(1), nullptr);
    }

    void itsActionOpensAndClosesTheList()
    {
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(&*m_window));
        QAccessibleActionInterface* action = popup()->actionInterface();
        action->doAction(QAccessibleActionInterface::setFocusAction());
        QVERIFY(m_popup->hasFocus());
        for (const QString& name :
             {QAccessibleActionInterface::showMenuAction(), QAccessibleActionInterface::pressAction()}) {
            QVERIFY(action->actionNames().contains(name));
            action->doAction(name);
            QVERIFY(m_popup->view()->isVisible());
            action->doAction(name);
            QVERIFY(!m_popup->view()->isVisible());
            m_popup->setEnabled(false);
            action->doAction(name);
            QVERIFY(!m_popup->view()->isVisible());
            m_popup->setEnabled(true);
        }
    }

private:
    QAccessibleInterface* popup() const { return QAccessible::queryAccessibleInterface(m_popup); }

    Fresh<QWidget> m_window{this};
    PopUpButton* m_popup = nullptr; // child of the window
};

QTEST_MAIN(TestPopUpAccessible)
#include "TestPopUpAccessible.moc"
