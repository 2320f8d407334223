#include "agents/AgentDialogs.h"

#include "agents/AgentAnswers.h"
#include "support/Controls.h"
#include "support/TestCase.h"
#include "ui/Colors.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

using AgentAnswers::ecosystemPopup;
using AgentAnswers::nameField;

/// The dialogs of the Agents tab.
class TestAgentDialogs final : public TestCase
{
    Q_OBJECT

private slots:
    void aNewAgentIsAskedForAsGiven()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QCOMPARE(Controls::titles(*ecosystemPopup(dialog)), u"openclaw,codex,kimi"_s.split(u','));
            QCOMPARE(ecosystemPopup(dialog)->currentText(), u"openclaw"_s);
            QCOMPARE(nameField(dialog)->text(), u"openclaw 20250101-093000"_s);
            QStringList labels;
            for (const QLabel* label : ecosystemPopup(dialog)->parentWidget()->findChildren<QLabel*>())
                labels.append(label->text());
            labels.sort();
            QCOMPARE(labels, QStringList({u"Ecosystem"_s, u"Name"_s,
                                          u"Workspace uses the default path automatically. For openclaw, "
                                          "Nelo will launch install/configure flow after creating the "
                                          "record."_s}));
            const QWidget* form = ecosystemPopup(dialog)->parentWidget();
            QCOMPARE(form->size(), QSize(520, 126));
            QCOMPARE(ecosystemPopup(dialog)->geometry(), QRect(100, 4, 280, 26));
            QCOMPARE(nameField(dialog)->geometry(), QRect(100, 42, 320, 24));
            const auto* note = form->findChild<QLabel*>(u"note"_s);
            QCOMPARE(note->y(), 78);
            QCOMPARE(note->palette().color(QPalette::WindowText), Colors::secondaryText(form->palette()));
            DialogRobot::press(u"Cancel"_s)(dialog);
        }});
        askForNewAgent(nullptr, u"20250101-093000"_s);
        QCOMPARE(robot.titles(), QStringList{u"Add Agent"_s});
        QCOMPARE(robot.shown().at(0).text, u"Create a managed agent record."_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList({u"Cancel"_s, u"Create"_s}));
        QCOMPARE(robot.shown().at(0).defaultButton, u"Create"_s);
    }

    void theNewAgentsFormGrowsWithItsNote()
    {
        const auto restored = qScopeGuard([before = QApplication::font()] { QApplication::setFont(before); });
        QFont wide = QApplication::font();
        wide.setLetterSpacing(QFont::PercentageSpacing, 300);
        QApplication::setFont(wide);
        const DialogRobot robot({[](QDialog& dialog) {
            const QWidget* form = ecosystemPopup(dialog)->parentWidget();
            const auto* note = form->findChild<QLabel*>(u"note"_s);
            QVERIFY(form->height() > 126);
            QCOMPARE(note->height(), note->heightForWidth(note->width()));
            QCOMPARE(form->height(), note->geometry().bottom() + 1 + 4);
            dialog.reject();
        }});
        askForNewAgent(nullptr, u"20250101-093000"_s);
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theNewAgentsFormIsFilledInByKeyboard()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QVERIFY(ecosystemPopup(dialog)->hasFocus());
            QTest::keyClick(ecosystemPopup(dialog), Qt::Key_Down);
            QTest::keyClick(ecosystemPopup(dialog), Qt::Key_Tab);
            QVERIFY(nameField(dialog)->hasFocus());
            QTest::keyClicks(nameField(dialog), u"typed"_s);
            QTest::keyClick(nameField(dialog), Qt::Key_Return);
        }});
        const std::optional<NewAgentChoice> choice = askForNewAgent(nullptr, u"20250101-093000"_s);
        QVERIFY(choice);
        QCOMPARE(choice->ecosystem, u"codex"_s);
        QCOMPARE(choice->name, u"typed"_s); // Tab selects what is there, so that typing replaces it
    }

    void aNewAgentIsWhatWasChosenOrTheFirstEcosystem()
    {
        const auto choose = [](const DialogRobot::Answer& answer) {
            const DialogRobot robot({answer});
            const NewAgentChoice choice = askForNewAgent(nullptr, u"20250101-093000"_s).value_or(NewAgentChoice());
            return choice.ecosystem + u'|' + choice.name;
        };
        QCOMPARE(choose(AgentAnswers::create(u"kimi"_s, u" 名 "_s)), u"kimi| 名 "_s);
        const QString standIn = u"openclaw 20250101-093000"_s; // which another ecosystem leaves alone
        QCOMPARE(choose([](QDialog& dialog) {
                     ecosystemPopup(dialog)->setCurrentText(u"kimi"_s);
                     DialogRobot::press(u"Create"_s)(dialog);
                 }),
                 u"kimi|"_s + standIn);
        QCOMPARE(choose([](QDialog& dialog) {
                     ecosystemPopup(dialog)->setCurrentIndex(-1);
                     DialogRobot::press(u"Create"_s)(dialog);
                 }),
                 u"openclaw|"_s + standIn);
    }

    void aNameIsAskedForAsGiven()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QCOMPARE(nameField(dialog)->text(), u"<i>名</i>"_s);
            QCOMPARE(nameField(dialog)->size(), QSize(280, 24));
            QCOMPARE(nameField(dialog)->accessibleName(), u"Name"_s);
            QVERIFY(nameField(dialog)->hasFocus());
            QCOMPARE(nameField(dialog)->selectedText(), u"<i>名</i>"_s);
            DialogRobot::press(u"Cancel"_s)(dialog);
        }});
        askForName(nullptr, u"Rename Agent"_s, u"codex/<b>a</b>"_s, u"<i>名</i>"_s);
        QCOMPARE(robot.titles(), QStringList{u"Rename Agent"_s});
        QCOMPARE(robot.shown().at(0).text, u"codex/<b>a</b>"_s);
        QCOMPARE(robot.shown().at(0).buttons, QStringList({u"Cancel"_s, u"Save"_s}));
        QCOMPARE(robot.shown().at(0).defaultButton, u"Save"_s);
    }

    void aFormRowPutsItsLabelBesideTheField()
    {
        QWidget form;
        auto* field = new QLineEdit(&form);
        field->setFixedWidth(120); // narrower than fields are
        form.setLayout(labelRow(u"A label that is too long for its room"_s, field));
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        const auto* label = form.findChild<QLabel*>();
        QCOMPARE(label->width(), 90);
        QCOMPARE(label->alignment(), Qt::AlignRight | Qt::AlignVCenter);
        QCOMPARE(label->buddy(), field);
        QCOMPARE(field->geometry().left(), label->geometry().right() + 1 + 10);
        QCOMPARE(field->width(), 280);
        QCOMPARE(field->maximumWidth(), 280); // no more than it needs
        QVERIFY(qAbs(field->geometry().center().y() - label->geometry().center().y()) <= 1);
    }
};

QTEST_MAIN(TestAgentDialogs)
#include "TestAgentDialogs.moc"
