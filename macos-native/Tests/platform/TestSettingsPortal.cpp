#include "platform/SettingsPortal.h"

#include "support/Cases.h"
#include "support/Warnings.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(ColorScheme)

namespace {

QVariant wrapped(const QVariant& value)
{
    return QVariant::fromValue(QDBusVariant(value));
}

/// A portal whose setting has the value `value`; without one it does not answer.
class FakePortal final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit FakePortal(const QDBusConnection& bus) : m_bus(bus)
    {
        m_bus.registerObject(u"/org/freedesktop/portal/desktop"_s, this, QDBusConnection::ExportScriptableContents);
    }

    void appear() { m_bus.registerService(u"org.freedesktop.portal.Desktop"_s); }
    void disappear() { m_bus.unregisterService(u"org.freedesktop.portal.Desktop"_s); }

    /// Tells that a setting has changed.
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

    QVariant value;
    QStringList questions;

private:
    QDBusConnection m_bus;
};

} // namespace

/// The color scheme that the desktop tells through its portal.
class TestSettingsPortal final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--nosyslog"_s, u"--print-address"_s});
        QVERIFY(m_daemon.waitForReadyRead());
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }

    void init()
    {
        failOnUnexpectedWarning();
        m_fake = std::make_unique<FakePortal>(QDBusConnection::connectToBus(m_address, u"portal"_s));
    }

    void cleanup()
    {
        m_fake->disappear();
        m_fake.reset();
        QDBusConnection::disconnectFromBus(u"portal"_s);
        QDBusConnection::disconnectFromBus(u"program"_s);
    }

    void cleanupTestCase()
    {
        m_daemon.terminate();
        QVERIFY(m_daemon.waitForFinished());
    }

    void theSettingIsRead_data()
    {
        const Cases<QVariant, ColorScheme> add("value", "scheme");
        add("dark", wrapped(wrapped(1U)), ColorScheme::Dark);
        add("light", wrapped(wrapped(2U)), ColorScheme::Light);
        add("no preference", wrapped(wrapped(0U)), ColorScheme::Unknown);
        add("a number without a meaning", wrapped(wrapped(3U)), ColorScheme::Unknown);
        add("wrapped once, as the newer method does", wrapped(1U), ColorScheme::Dark);
        add("a text is garbage", wrapped(wrapped(u"1"_s)), ColorScheme::Unknown);
        add("a list is garbage", wrapped(QStringList{u"1"_s}), ColorScheme::Unknown);
        add("another type of reply is garbage", u"dark"_s, ColorScheme::Unknown);
    }

    void theSettingIsRead()
    {
        QFETCH(QVariant, value);
        m_fake->value = value;
        m_fake->appear();
        const SettingsPortal portal(bus());
        QCOMPARE(portal.colorScheme(), ColorScheme::Unknown); // it did not wait
        QTRY_COMPARE(m_fake->questions, QStringList{u"org.freedesktop.appearance color-scheme"_s});
        awaitTurn();
        QTEST(portal.colorScheme(), "scheme");
    }

    void aChangeIsFollowedBothWays()
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
        awaitTurn();
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
        awaitTurn();
        QVERIFY(m_fake->questions.isEmpty());
        m_fake->appear();
        QTRY_COMPARE(portal.colorScheme(), ColorScheme::Dark);
    }

    void aPortalThatDoesNotAnswerMayStillTell()
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
    QDBusConnection bus() const { return QDBusConnection::connectToBus(m_address, u"program"_s); }

    /// Waits until what has been sent so far, and is answered, has arrived.
    void awaitTurn() const
    {
        for (const QString& name : {u"portal"_s, u"program"_s}) {
            const auto ping = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/"_s,
                                                             u"org.freedesktop.DBus.Peer"_s, u"Ping"_s);
            QDBusConnection(name).call(ping);
        }
        QCoreApplication::processEvents();
    }

    QProcess m_daemon;
    QString m_address;
    std::unique_ptr<FakePortal> m_fake;
};

QTEST_GUILESS_MAIN(TestSettingsPortal)
#include "TestSettingsPortal.moc"
