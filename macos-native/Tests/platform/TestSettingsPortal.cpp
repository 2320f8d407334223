#include "platform/SettingsPortal.h"

#include "support/CaseTable.h"
#include "support/TestBus.h"
#include "support/TestCase.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

/// A portal, on a bus of its own, whose setting has the value `value`. It does not answer while there is no value.
class FakePortal final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    FakePortal()
    {
        m_bus.registerObject(u"/org/freedesktop/portal/desktop"_s, this, QDBusConnection::ExportScriptableContents);
    }

    void appear() { m_bus.registerService(u"org.freedesktop.portal.Desktop"_s); }

    /// Sends the signal that a setting has changed.
    void announce(const QVariantList& arguments) const
    {
        QDBusMessage signal = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                                         u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        signal.setArguments(arguments);
        m_bus.send(signal);
    }

    Q_SCRIPTABLE QDBusVariant Read(const QString& group, const QString& key)
    {
        questions.append(group + u' ' + key);
        setDelayedReply(true);
        if (value.isValid())
            m_bus.send(message().createReply(value));
        return QDBusVariant(0);
    }

    TestBus bus;
    QVariant value;
    QStringList questions;

private:
    QDBusConnection m_bus = bus.connection(u"portal"_s);
};

} // namespace

/// The color scheme, as the desktop's portal gives it.
class TestSettingsPortal final : public TestCase
{
    Q_OBJECT

private slots:
    void theSettingIsRead()
    {
        const CaseTable<QVariant, ColorScheme> cases{
            {"dark", wrapped(wrapped(1U)), ColorScheme::Dark},
            {"light", wrapped(wrapped(2U)), ColorScheme::Light},
            {"no preference", wrapped(wrapped(0U)), ColorScheme::Unknown},
            {"a number without a meaning", wrapped(wrapped(3U)), ColorScheme::Unknown},
            {"wrapped once, as the newer method does", wrapped(1U), ColorScheme::Dark},
            {"a text is garbage", wrapped(wrapped(u"1"_s)), ColorScheme::Unknown},
            {"a list is garbage", wrapped(QStringList{u"1"_s}), ColorScheme::Unknown},
            {"another type of reply is garbage", u"dark"_s, ColorScheme::Unknown},
        };
        for (const auto& [value, scheme] : cases) {
            restart();
            m_fake->value = value;
            m_fake->appear();
            const SettingsPortal portal(bus());
            QCOMPARE(portal.colorScheme(), ColorScheme::Unknown); // it did not wait
            QTRY_COMPARE(m_fake->questions, QStringList{u"org.freedesktop.appearance color-scheme"_s});
            m_fake->bus.awaitTurn();
            QCOMPARE(portal.colorScheme(), scheme);
        }
    }

    void aChangeIsFollowed()
    {
        m_fake->value = wrapped(wrapped(0U));
        m_fake->appear();
        const SettingsPortal portal(bus());
        const QSignalSpy spy(&portal, &SettingsPortal::colorSchemeChanged);
        QTRY_COMPARE(m_fake->questions.size(), 1);
        const QString group = u"org.freedesktop.appearance"_s;
        m_fake->announce({group, u"color-scheme"_s, wrapped(1U)});
        QTRY_COMPARE(portal.colorScheme(), ColorScheme::Dark);
        m_fake->announce({group, u"accent-color"_s, wrapped(0U)});
        m_fake->announce({u"org.example"_s, u"color-scheme"_s, wrapped(0U)});
        m_fake->announce({group, u"color-scheme"_s, wrapped(1U)});
        m_fake->bus.awaitTurn();
        QCOMPARE(portal.colorScheme(), ColorScheme::Dark);
        QCOMPARE(spy.count(), 1);
        m_fake->announce({group, u"color-scheme"_s, wrapped(u"dark"_s)});
        QTRY_COMPARE(portal.colorScheme(), ColorScheme::Unknown);
        m_fake->announce({group, u"color-scheme"_s, wrapped(2U)});
        QTRY_COMPARE(portal.colorScheme(), ColorScheme::Light);
        m_fake->announce({group, u"color-scheme"_s});
        QTRY_COMPARE(portal.colorScheme(), ColorScheme::Unknown);
    }

    void aPortalThatComesLaterIsAsked()
    {
        m_fake->value = wrapped(wrapped(1U));
        const SettingsPortal portal(bus());
        m_fake->bus.awaitTurn();
        QVERIFY(m_fake->questions.isEmpty());
        m_fake->appear();
        QTRY_COMPARE(portal.colorScheme(), ColorScheme::Dark);
    }

    void aPortalThatDoesNotAnswerMayStillSendChanges()
    {
        m_fake->appear();
        const SettingsPortal portal(bus());
        QTRY_COMPARE(m_fake->questions.size(), 1);
        QCOMPARE(portal.colorScheme(), ColorScheme::Unknown);
        m_fake->announce({u"org.freedesktop.appearance"_s, u"color-scheme"_s, wrapped(1U)});
        QTRY_COMPARE(portal.colorScheme(), ColorScheme::Dark);
    }

    void withoutABusThereIsNoScheme()
    {
        const SettingsPortal portal{QDBusConnection(u"none"_s)};
        QCOMPARE(portal.colorScheme(), ColorScheme::Unknown);
    }

private:
    static QVariant wrapped(const QVariant& value) { return QVariant::fromValue(QDBusVariant(value)); }
    QDBusConnection bus() const { return m_fake->bus.connection(u"program"_s); }

    Fresh<FakePortal> m_fake{this};
};

QTEST_GUILESS_MAIN(TestSettingsPortal)
#include "TestSettingsPortal.moc"
