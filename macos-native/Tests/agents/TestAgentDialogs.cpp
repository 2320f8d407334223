#include "agents/AgentDialogs.h"

#include "agents/AgentAnswers.h"
#include "support/Warnings.h"
#include "ui/Colors.h"
#include "ui/Labels.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScopeGuard>
#include <QTest>

using AgentAnswers::ecosystemPopup;
using AgentAnswers::nameField;

namespace {

const DialogRobot::Answer& cancel()
{
    static const DialogRobot::Answer answer = DialogRobot::press(QStringLiteral("Cancel"));
    return answer;
}

} // namespace

/// The dialogs of the Agents tab.
class TestAgentDialogs final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void aNewAgentIsAskedForAsGiven()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QStringList items;
            for (int item = 0; item < ecosystemPopup(dialog)->count(); ++item)
                items.append(ecosystemPopup(dialog)->itemText(item));
            QCOMPARE(items, QStringLiteral("openclaw,codex,kimi").split(u','));
            QCOMPARE(ecosystemPopup(dialog)->currentText(), QStringLiteral("openclaw"));
            QCOMPARE(nameField(dialog)->text(), QStringLiteral("openclaw 20250101-093000"));
            QStringList labels;
            for (const QLabel* label : ecosystemPopup(dialog)->parentWidget()->findChildren<QLabel*>())
                labels.append(label->text());
            labels.sort();
            QCOMPARE(labels, QStringList({QStringLiteral("Ecosystem"), QStringLiteral("Name"),
                                          QStringLiteral("Workspace uses the default path automatically. For openclaw, "
                                                         "Nelo will launch install/configure flow after creating the "
                                                         "record.")}));
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, QStringLiteral("20250101-093000"));
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("Add Agent")});
        QCOMPARE(robot.shown().at(0).text, QStringLiteral("Create a managed agent record."));
        QCOMPARE(robot.shown().at(0).buttons, QStringList({QStringLiteral("Cancel"), QStringLiteral("Create")}));
        QCOMPARE(robot.shown().at(0).defaultButton, QStringLiteral("Create"));
    }

    void theNewAgentsFormHasTheGivenSizes()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            const QWidget* form = ecosystemPopup(dialog)->parentWidget();
            QCOMPARE(form->size(), QSize(520, 126));
            QCOMPARE(ecosystemPopup(dialog)->geometry(), QRect(100, 4, 280, 26));
            QCOMPARE(nameField(dialog)->geometry(), QRect(100, 4 + 26 + 12, 320, 24));
            for (const QLabel* label : form->findChildren<QLabel*>()) {
                QVERIFY(form->rect().contains(label->geometry()));
                QVERIFY(label->height() >= label->heightForWidth(label->width())); // nothing of it is cut off
                if (label->wordWrap())
                    QCOMPARE(label->geometry().top(), 4 + 26 + 12 + 24 + 12);
            }
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, QStringLiteral("20250101-093000"));
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theNewAgentsFormGrowsWithItsNote()
    {
        const QFont before = QApplication::font();
        const auto restored = qScopeGuard([&before] { QApplication::setFont(before); });
        QFont wide = before;
        wide.setLetterSpacing(QFont::PercentageSpacing, 300);
        QApplication::setFont(wide);
        const DialogRobot robot({[](QDialog& dialog) {
            const QWidget* form = ecosystemPopup(dialog)->parentWidget();
            const auto* note = form->findChild<QLabel*>(QStringLiteral("note"));
            QVERIFY(form->height() > 126);
            QCOMPARE(note->height(), note->heightForWidth(note->width()));
            QCOMPARE(form->height(), note->geometry().bottom() + 1 + 4);
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, QStringLiteral("20250101-093000"));
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theNewAgentsFieldsAreNamedForAssistiveTechnology()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QCOMPARE(ecosystemPopup(dialog)->accessibleDescription(), QStringLiteral("Ecosystem"));
            QMap<QString, QWidget*> buddies;
            for (const QLabel* label : ecosystemPopup(dialog)->parentWidget()->findChildren<QLabel*>())
                buddies.insert(label->text().left(9), label->buddy());
            QCOMPARE(buddies.value(QStringLiteral("Ecosystem")), ecosystemPopup(dialog));
            QCOMPARE(buddies.value(QStringLiteral("Name")), nameField(dialog));
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, QStringLiteral("20250101-093000"));
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theNoteIsInTheSecondaryColor()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            const auto* note = dialog.findChild<WrappingLabel*>(QStringLiteral("note"));
            QCOMPARE(note->palette().color(QPalette::WindowText), Colors::secondaryText(dialog.palette()));
            cancel()(dialog);
        }});
        askForNewAgent(nullptr, QStringLiteral("20250101-093000"));
        QCOMPARE(robot.shown().size(), 1U);
    }

    void theNewAgentsFormIsFilledInByKeyboard()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QVERIFY(ecosystemPopup(dialog)->hasFocus());
            QTest::keyClick(ecosystemPopup(dialog), Qt::Key_Down);
            QTest::keyClick(ecosystemPopup(dialog), Qt::Key_Tab);
            QVERIFY(nameField(dialog)->hasFocus());
            QTest::keyClicks(nameField(dialog), QStringLiteral("typed"));
            QTest::keyClick(nameField(dialog), Qt::Key_Return);
        }});
        const std::optional<NewAgentChoice> choice = askForNewAgent(nullptr, QStringLiteral("20250101-093000"));
        QVERIFY(choice);
        QCOMPARE(choice->ecosystem, QStringLiteral("codex"));
        QCOMPARE(choice->name, QStringLiteral("typed")); // Tab selects what is there, so that typing replaces it
    }

    void aNewAgentIsWhatWasChosen()
    {
        const DialogRobot robot({AgentAnswers::create(QStringLiteral("kimi"), QStringLiteral(" 名 "))});
        const std::optional<NewAgentChoice> choice = askForNewAgent(nullptr, QStringLiteral("20250101-093000"));
        QVERIFY(choice);
        QCOMPARE(choice->ecosystem, QStringLiteral("kimi"));
        QCOMPARE(choice->name, QStringLiteral(" 名 "));
    }

    void anotherEcosystemLeavesTheNameAlone()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            ecosystemPopup(dialog)->setCurrentText(QStringLiteral("kimi"));
            DialogRobot::press(QStringLiteral("Create"))(dialog);
        }});
        QCOMPARE(askForNewAgent(nullptr, QStringLiteral("20250101-093000"))->name,
                 QStringLiteral("openclaw 20250101-093000"));
    }

    void withoutASelectedEcosystemItIsTheFirst()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            ecosystemPopup(dialog)->setCurrentIndex(-1);
            DialogRobot::press(QStringLiteral("Create"))(dialog);
        }});
        QCOMPARE(askForNewAgent(nullptr, QStringLiteral("20250101-093000"))->ecosystem, QStringLiteral("openclaw"));
    }

    void aCancelledNewAgentIsNone()
    {
        const DialogRobot robot({cancel(), DialogRobot::press(Qt::Key_Escape)});
        QVERIFY(!askForNewAgent(nullptr, QStringLiteral("20250101-093000")));
        QVERIFY(!askForNewAgent(nullptr, QStringLiteral("20250101-093000")));
        QCOMPARE(robot.shown().size(), 2U);
    }

    void aNameIsAskedForAsGiven()
    {
        const DialogRobot robot({[](QDialog& dialog) {
            QCOMPARE(nameField(dialog)->text(), QStringLiteral("<i>名</i>"));
            QCOMPARE(nameField(dialog)->size(), QSize(280, 24));
            QCOMPARE(nameField(dialog)->accessibleName(), QStringLiteral("Name"));
            QVERIFY(nameField(dialog)->hasFocus());
            QCOMPARE(nameField(dialog)->selectedText(), QStringLiteral("<i>名</i>"));
            cancel()(dialog);
        }});
        askForName(nullptr, QStringLiteral("Rename Agent"), QStringLiteral("codex/<b>a</b>"),
                   QStringLiteral("<i>名</i>"));
        QCOMPARE(robot.titles(), QStringList{QStringLiteral("Rename Agent")});
        QCOMPARE(robot.shown().at(0).text, QStringLiteral("codex/<b>a</b>"));
        QCOMPARE(robot.shown().at(0).buttons, QStringList({QStringLiteral("Cancel"), QStringLiteral("Save")}));
        QCOMPARE(robot.shown().at(0).defaultButton, QStringLiteral("Save"));
    }

    void whateverANameHoldsComesBack_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a line feed") << QStringLiteral("a\nb");
        QTest::newRow("a bidirectional mark") << QStringLiteral("a\u202eb");
        QTest::newRow("ten thousand characters") << QString(10'000, u'n');
        QTest::newRow("more characters than a field takes by itself") << QString(40'000, u'名');
    }

    void whateverANameHoldsComesBack()
    {
        QFETCH(QString, name);
        const DialogRobot robot({[&name](QDialog& dialog) {
                                     QCOMPARE(nameField(dialog)->size(), QSize(280, 24));
                                     QVERIFY(dialog.width() < 1000);
                                     QCOMPARE(nameField(dialog)->text(), name);
                                     dialog.grab(); // painting it does no harm
                                     AgentAnswers::saveName(name)(dialog);
                                 },
                                 AgentAnswers::create(QStringLiteral("kimi"), name)});
        QCOMPARE(askForName(nullptr, QStringLiteral("Rename Agent"), QStringLiteral("codex/a"), name), name);
        QCOMPARE(askForNewAgent(nullptr, QStringLiteral("20250101-093000"))->name, name);
    }

    void aNameIsTrimmed_data()
    {
        QTest::addColumn<QString>("entered");
        QTest::addColumn<QString>("name");
        QTest::newRow("as entered") << QStringLiteral("名") << QStringLiteral("名");
        QTest::newRow("without white space around it") << QStringLiteral(" \ta b\n\u2028") << QStringLiteral("a b");
        QTest::newRow("nothing but white space is empty") << QStringLiteral(" \u00a0\u3000") << QString();
    }

    void aNameIsTrimmed()
    {
        QFETCH(QString, entered);
        QFETCH(QString, name);
        const DialogRobot robot({AgentAnswers::saveName(entered)});
        QCOMPARE(askForName(nullptr, {}, {}, QStringLiteral("old")).value_or(QStringLiteral("none")), name);
    }

    void aCancelledNameIsNone()
    {
        const DialogRobot robot({cancel(), DialogRobot::press(Qt::Key_Escape)});
        QVERIFY(!askForName(nullptr, {}, {}, QStringLiteral("old")));
        QVERIFY(!askForName(nullptr, {}, {}, QStringLiteral("old")));
        QCOMPARE(robot.shown().size(), 2U);
    }

    void aFormRowPutsItsLabelBesideTheField()
    {
        QWidget form;
        auto* field = new QLineEdit(&form);
        form.setLayout(labelRow(QStringLiteral("A label that is too long for its room"), field));
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        const auto* label = form.findChild<QLabel*>();
        QCOMPARE(label->width(), 90);
        QCOMPARE(label->alignment(), Qt::AlignRight | Qt::AlignVCenter);
        QCOMPARE(label->buddy(), field);
        QCOMPARE(field->geometry().left(), label->geometry().right() + 1 + 10);
        QVERIFY(field->minimumWidth() >= 280);
        QVERIFY(qAbs(field->geometry().center().y() - label->geometry().center().y()) <= 1);
    }

    void aFormRowWidensAFieldThatIsFixedTooNarrow()
    {
        QWidget form;
        auto* field = new QLineEdit(&form);
        field->setFixedWidth(120);
        form.setLayout(labelRow(QStringLiteral("Name"), field));
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QCOMPARE(field->width(), 280);
        QCOMPARE(field->maximumWidth(), 280); // no more than it needs
    }
};

QTEST_MAIN(TestAgentDialogs)
#include "TestAgentDialogs.moc"
