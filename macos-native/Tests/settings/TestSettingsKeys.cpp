#include "base/ApiKeyStore.h"
#include "base/FileDescriptor.h"
#include "settings/SettingsFixture.h"
#include "support/TestCase.h"

#include <QAccessible>
#include <QDirIterator>
#include <QSettings>

#include <array>
#include <optional>

#include <sys/inotify.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

const QString secret = u"sk-secret"_s;

/// The API keys: which is shown, where they are kept, and where they never go.
class TestSettingsKeys final : public TestCase
{
    Q_OBJECT

private slots:
    void showsTheKeyOfEachProviderOrNothingAndTheDocumentsForItsOwn()
    {
        store("openai", u"key of openai"_s);
        store("kimi", u"key of kimi"_s);
        m_settings->saved({{"chat", {{"cloud_provider", "kimi"}}}});
        QCOMPARE(key(), u"key of kimi"_s);
        QCOMPARE(keyOf("deepseek"), QString());
        m_settings->saved({{"chat", {{"cloud_provider", "kimi"}, {"cloud_api_key", "of the document"}}}});
        m_settings->press("Reload");
        QCOMPARE(key(), u"of the document"_s);
        QCOMPARE(keyOf("openai"), u"key of openai"_s);
    }

    void aTypedKeyIsBackAfterSwitchingAndTrimmed()
    {
        m_settings->type("cloudAPIKeyField", u" \tsk-1\n"_s);
        QCOMPARE(keyOf("kimi"), QString());
        m_settings->type("cloudAPIKeyField", u"sk-2"_s);
        QCOMPARE(keyOf("openai"), u"sk-1"_s);
        QCOMPARE(keyOf("kimi"), u"sk-2"_s);
    }

    void switchingTheProviderLeavesTheModelAndSavesNothing()
    {
        m_settings->type("cloudModelField", u"my-model"_s);
        m_settings->type("cloudAPIKeyField", secret);
        m_settings->choose("cloudProviderPopup", "deepseek");
        QCOMPARE(m_settings->text("cloudModelField"), u"my-model"_s);
        QCOMPARE(m_settings->status(), u"Settings loaded."_s);
        QCOMPARE(m_settings->backend.calls().size(), std::size_t(1));
        QCOMPARE(stored("openai"), QString());
    }

    void switchingToNoProviderShowsTheFirstOnes()
    {
        store("openai", u"first"_s);
        m_settings->choose("cloudProviderPopup", "kimi");
        auto* popup = m_settings->find<QComboBox>("cloudProviderPopup");
        popup->setCurrentIndex(-1);
        emit popup->activated(-1);
        QCOMPARE(key(), u"first"_s);
    }

    void reloadDiscardsTheTypedKeysOfAllProviders()
    {
        store("openai", u"stored"_s);
        m_settings->type("cloudAPIKeyField", u"typed"_s);
        m_settings->choose("cloudProviderPopup", "deepseek");
        m_settings->type("cloudAPIKeyField", u"typed too"_s);
        m_settings->saved({{"chat", {{"cloud_provider", "kimi"}}}});
        m_settings->press("Reload"); // fires no change of provider, which would take what is in the field
        QCOMPARE(m_settings->title("cloudProviderPopup"), u"kimi"_s);
        QCOMPARE(key(), QString());
        QCOMPARE(keyOf("deepseek"), QString());
        QCOMPARE(keyOf("openai"), u"stored"_s);
    }

    void savingSendsTheSelectedProvidersKeyTrimmedAndStoresAll()
    {
        store("deepseek", u"old"_s);
        m_settings->type("cloudAPIKeyField", u"sk-1"_s);
        m_settings->choose("cloudProviderPopup", "deepseek");
        m_settings->type("cloudAPIKeyField", u" "_s); // is a key, too: none
        m_settings->choose("cloudProviderPopup", "kimi");
        m_settings->type("cloudAPIKeyField", u" sk-2\n"_s);
        m_settings->press("Save");
        QVERIFY(m_settings->sentDocument()["chat"]["cloud_api_key"] == "sk-2");
        QCOMPARE(stored("openai"), u"sk-1"_s);
        QCOMPARE(stored("kimi"), u"sk-2"_s);
        QCOMPARE(stored("deepseek"), QString());
        QCOMPARE(key(), u" sk-2\n"_s); // the field stays as it was typed
    }

    void savingReplacesTheFileOfAllKeysOnce()
    {
        store("openai", u"old"_s);
        const QString folder = QFileInfo(QSettings().fileName()).path();
        const FileDescriptor watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        inotify_add_watch(watch.get(), QFile::encodeName(folder).constData(), IN_CREATE); // of what is renamed then
        m_settings->press("Save");
        alignas(inotify_event) std::array<char, 4096> events{};
        const ssize_t size = read(watch.get(), events.data(), events.size());
        QCOMPARE(size, sizeof(inotify_event) + reinterpret_cast<const inotify_event*>(events.data())->len);
    }

    void aFailedSaveAfterAFailedLoadStoresTheTypedKeyAndLeavesTheOthers()
    {
        store("deepseek", u"old deepseek"_s);
        m_settings->backend.raise("load_nelo_settings", "OSError", "no such luck");
        m_settings->backend.raise("save_nelo_settings", "OSError", "no space left on device");
        m_settings->type("cloudAPIKeyField", secret);
        m_settings->press("Save");
        QVERIFY(m_settings->status().startsWith(u"ERROR: "_s));
        QCOMPARE(stored("openai"), secret);
        QCOMPARE(stored("deepseek"), u"old deepseek"_s);
        QCOMPARE(key(), secret);
    }

    void aSaveWritesTheKeysAsTheyWereLoaded()
    {
        m_settings->view();
        store("kimi", u"stored by the chat meanwhile"_s);
        m_settings->press("Save");
        QCOMPARE(stored("kimi"), QString());
    }

    void theKeysAreStoredOnceTheBackendHasAnswered()
    {
        m_settings->type("cloudAPIKeyField", secret);
        const QString storedMeanwhile = m_settings->backend.seenDuring(
            "save_nelo_settings", nullptr, [] { return u"stored: "_s + ApiKeyStore().key(u"openai"_s); },
            [this] { m_settings->press("Save"); });
        QCOMPARE(storedMeanwhile, u"stored: "_s);
        QCOMPARE(stored("openai"), secret);
    }

    void aStoreThatCannotBeWrittenIsToldAndLosesNothingInTheForm()
    {
        QFile inTheWay(m_settings->backend.home().path(u".config"_s)); // where a folder belongs
        QVERIFY(inTheWay.open(QFile::WriteOnly));
        m_settings->type("cloudAPIKeyField", secret);
        m_settings->press("Save");
        const QString failure = u"Settings saved, but the API keys were not: Not a directory"_s;
        QCOMPARE(m_settings->status(), failure);
        QCOMPARE(key(), secret);
        m_settings->press("Refresh Catalog");
        QCOMPARE(m_settings->status(), failure + u". Cloud catalog refreshed (3 skills)."_s);
        m_settings->choose("cloudProviderPopup", "kimi");
        QCOMPARE(keyOf("openai"), secret);
    }

    void nobodyReadsTheKeyInItsField()
    {
        m_settings->type("cloudAPIKeyField", secret);
        QCOMPARE(field()->echoMode(), QLineEdit::Password);
        field()->selectAll();
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(field());
        QVERIFY(accessible->state().passwordEdit);
        QVERIFY(!accessible->text(QAccessible::Value).contains(secret));
        QVERIFY(!accessible->textInterface()->text(0, static_cast<int>(secret.size())).contains(secret));
    }

    void aKeyLeavesTheProcessWhenItIsSavedAndForTheDocumentAndTheDefaultsOnly()
    {
        m_settings->type("cloudAPIKeyField", secret);
        m_settings->choose("cloudProviderPopup", "kimi");
        m_settings->choose("cloudProviderPopup", "openai");
        m_settings->view().show();
        m_settings->press("Reload");
        m_settings->type("cloudAPIKeyField", secret);
        m_settings->discardView();
        QCOMPARE(filesWith(secret), QStringList());

        m_settings->type("cloudAPIKeyField", secret);
        m_settings->press("Save");
        m_settings->press("Refresh Catalog");
        QCOMPARE(filesWith(secret).size(), 2); // what the scripted backend was told, and the defaults
        for (const ScriptedBackend::Call& call : m_settings->backend.calls())
            QVERIFY(call.function == "save_nelo_settings" || call.args.dump().find("sk-secret") == std::string::npos);
        QVERIFY(!m_settings->status().contains(secret));
        QVERIFY(!m_settings->view().window()->windowTitle().contains(secret));
    }

private:
    /// Chooses the provider and returns the key that the form shows then.
    QString keyOf(const char* provider)
    {
        m_settings->choose("cloudProviderPopup", provider);
        return key();
    }

    QString key() { return m_settings->text("cloudAPIKeyField"); }
    QLineEdit* field() { return m_settings->find<QLineEdit>("cloudAPIKeyField"); }
    QString stored(const char* provider) { return m_store.key(QString::fromLatin1(provider)); }

    void store(const char* provider, const QString& key)
    {
        QCOMPARE(m_store.setKeys({{QString::fromLatin1(provider), key}}), std::nullopt);
    }

    /// The files under the home folder and the backend's that hold `text`, by name.
    QStringList filesWith(const QString& text) const
    {
        QStringList names;
        for (const QString& folder : {m_settings->backend.home().path(), m_settings->backend.folder()}) {
            QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (files.hasNext()) {
                QFile file(files.next());
                if (file.open(QFile::ReadOnly) && file.readAll().contains(text.toUtf8()))
                    names.append(files.fileName());
            }
        }
        return names;
    }

    Fresh<SettingsFixture> m_settings{this};
    ApiKeyStore m_store;
};

QTEST_MAIN(TestSettingsKeys)
#include "TestSettingsKeys.moc"
