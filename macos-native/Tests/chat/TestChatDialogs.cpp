#include "chat/ChatViewController.h"

#include "base/ApiKeyStore.h"
#include "chat/ChatWindow.h"
#include "chat/StoredMessages.h"
#include "chat/core/NeloChatMessage.h"
#include "chat/transcript/TranscriptView.h"
#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// The chat's alerts, and the dialog for an API key.
class TestChatDialogs final : public TestCase
{
    Q_OBJECT

private slots:
    void aMissingKeyKeepsTheText()
    {
        QVERIFY(!ApiKeyStore().setKeys({{u"kimi"_s, u" \n\t"_s}})); // a key of blanks is none
        m_chat->open();
        m_chat->modelPopup()->setCurrentText(u"moonshot-v1-8k"_s);
        m_chat->transcript()->setFocus();

        const DialogRobot::Shown alert = answerDialog([this] { m_chat->send(m_question); });
        QCOMPARE(alert.title, u"API Key Required"_s);
        QCOMPARE(alert.text, u"Configure an API Key for kimi before sending."_s);
        QCOMPARE(alert.buttons, QStringList{u"OK"_s});
        QCOMPARE(m_chat->status(), u"missing api key"_s);
        QCOMPARE(m_chat->logEntries(),
                 (QStringList{u"send triggered"_s,
                              u"send aborted: missing api key for provider=kimi model=moonshot-v1-8k"_s}));
        QCOMPARE(m_chat->inputField()->text(), m_question);
        QCOMPARE(m_chat->window()->focusWidget(), m_chat->inputField());
        QCOMPARE(m_chat->bubbles(), QStringList{m_welcome});
        QVERIFY(m_chat->server.requests().isEmpty());
    }

    void aRefusalIsShownAndTheQuestionStays()
    {
        m_chat->openWithKeys();
        m_chat->transcript()->setFocus();
        QString statusMeanwhile;
        m_chat->server.holdAnswers();
        m_chat->send(m_question);
        QTRY_COMPARE(m_chat->server.requests().size(), 1);
        QTRY_COMPARE(storedMessages().size(), 2);
        QVERIFY(QFile::remove(neloChatHistoryURL())); // after a failure it is written again
        const HttpAnswer refusal = HttpAnswer::message(401, "{\"error\":\"<b>no</b>\"}");
        const auto fail = [this, &refusal] { m_chat->server.answer(0, refusal); };
        const DialogRobot::Shown alert = answerDialog(fail, [this, &statusMeanwhile](QDialog& dialog) {
            statusMeanwhile = m_chat->status();
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        QCOMPARE(alert.title, u"Request Failed"_s);
        QCOMPARE(alert.text, u"HTTP 401: {\"error\":\"<b>no</b>\"}"_s);
        QCOMPARE(alert.buttons, QStringList{u"OK"_s});
        QCOMPARE(statusMeanwhile, u"request failed"_s);
        QCOMPARE(m_chat->bubbles(), (QStringList{m_welcome, u"Me: "_s + m_question}));
        QCOMPARE(m_chat->logEntries().last(), u"request failed: "_s + alert.text);
        QCOMPARE(m_chat->window()->focusWidget(), m_chat->inputField());
        QTRY_COMPARE(storedMessages().size(), 2);
        QVERIFY(!m_chat->window()->windowTitle().contains(u"sk-openai")); // the key is shown and stored nowhere
        QVERIFY(!m_chat->logEntries().join(u' ').contains(u"sk-openai"));
        QVERIFY(!Files::contentOf(neloChatHistoryURL()).contains("sk-openai"));
    }

    void aFailureBeforeTheRequestIsShown()
    {
        m_chat->openWithKeys();
        qputenv("NELO_OPENAI_BASE_URL", "no URL at all");
        QCOMPARE(answerDialog([this] { m_chat->send(m_question); }).text, u"invalid URL"_s);
        QCOMPARE(m_chat->bubbles().last(), u"Me: "_s + m_question);
    }

    void theKeyDialogStoresWhatIsSaved()
    {
        const CaseTable<QString, Qt::Key, QString> cases{
            {"Return saves, without blanks", u" sk-new  "_s, Qt::Key_Return, u"sk-new"_s},
            {"Escape keeps what was stored", u"other"_s, Qt::Key_Escape, u"sk-kimi"_s},
            {"an empty text is saved too", u"  "_s, Qt::Key_Return, {}},
        };
        for (const auto& [typed, key, stored] : cases) {
            m_chat->openWithKeys();
            m_chat->modelPopup()->setCurrentText(u"moonshot-v1-8k"_s);
            const auto answer = [typed = typed, key = key](QDialog& dialog) {
                auto* field = dialog.findChild<QLineEdit*>();
                QVERIFY(field->hasFocus());
                QCOMPARE(field->text(), u"sk-kimi"_s);
                QCOMPARE(field->placeholderText(), u"KIMI API Key"_s);
                QCOMPARE(field->accessibleName(), u"KIMI API Key"_s);
                QCOMPARE(field->echoMode(), QLineEdit::Password);
                QCOMPARE(field->size(), QSize(280, 24));
                field->selectAll();
                QTest::keyClicks(field, typed);
                QTest::keyClick(field, key);
            };
            const DialogRobot::Shown seen =
                answerDialog([this] { QTest::mouseClick(m_chat->plusButton(), Qt::LeftButton); }, answer);
            QCOMPARE(seen.title, u"Configure API Key"_s);
            QCOMPARE(seen.text, u"kimi / moonshot-v1-8k"_s);
            QCOMPARE(seen.buttons, (QStringList{u"Cancel"_s, u"Save"_s}));
            QCOMPARE(seen.defaultButton, u"Save"_s);
            QCOMPARE(ApiKeyStore().key(u"kimi"_s), stored);
            QCOMPARE(ApiKeyStore().key(u"openai"_s), u"sk-openai"_s);
        }
        QCOMPARE(answerDialog([this] { m_chat->send(m_question); }).title, u"API Key Required"_s);
    }

    void aKeyThatCannotBeStoredIsReported()
    {
        Files::create(m_chat->home.path(u".config"_s), "a file where the folder should be");
        m_chat->open();
        const auto save = [](QDialog& dialog) {
            dialog.findChild<QLineEdit*>()->setText(u"sk-key"_s);
            dialog.accept();
        };
        const auto seen = answerDialogs([this] { m_chat->plusButton()->click(); }, {save, DialogRobot::press(u"OK"_s)});
        QCOMPARE(seen.size(), 2U);
        QCOMPARE(seen.back().title, u"Save Failed"_s);
        QVERIFY(!seen.back().text.contains(u"sk-key"));
    }

    void theWindowMayBeDeletedWhileADialogIsOpen()
    {
        m_chat->server.answerEach(HttpAnswer::message(500, "no"));
        for (const QString& title : {u"API Key Required"_s, u"Configure API Key"_s, u"Request Failed"_s}) {
            if (title == u"API Key Required")
                m_chat->open();
            else
                m_chat->openWithKeys();
            const auto ask = [this, &title] {
                m_chat->inputField()->setText(m_question);
                (title == u"Configure API Key" ? m_chat->plusButton() : m_chat->sendButton())->click();
            };
            const DialogRobot::Shown seen = answerDialog(ask, [this](QDialog& dialog) {
                m_chat->close();
                dialog.accept();
            });
            QCOMPARE(seen.title, title);
            QVERIFY(!m_chat->window());
        }
    }

private:
    const QString m_welcome = u"Nelo: "_s + neloWelcomeMessage;
    const QString m_question = u"What is the time?"_s;

    Fresh<ChatWindow> m_chat{this};
};

QTEST_MAIN(TestChatDialogs)
#include "TestChatDialogs.moc"
