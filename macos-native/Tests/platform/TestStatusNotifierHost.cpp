#include "platform/StatusNotifierHost.h"

#include "support/CaseTable.h"
#include "support/TestBus.h"
#include "support/TestCase.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

/// A watcher that says whether there is a host. Without `hasHost` it keeps the questions until `answer` is called.
class FakeWatcher final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit FakeWatcher(const QDBusConnection& bus, std::optional<bool> hasHost) : m_bus(bus), m_hasHost(hasHost)
    {
        m_bus.registerVirtualObject(StatusNotifierWatcher::path, this);
    }

    /// Takes the name of the watcher, from its owner if there is one.
    void appear()
    {
        m_bus.interface()->registerService(StatusNotifierWatcher::service,
                                           QDBusConnectionInterface::ReplaceExistingService,
                                           QDBusConnectionInterface::AllowReplacement);
    }

    bool isAsked() const { return !m_questions.isEmpty(); }

    void answer(bool hasHost)
    {
        for (const QDBusMessage& question : std::exchange(m_questions, {}))
            m_bus.send(question.createReply(QVariant::fromValue(QDBusVariant(hasHost))));
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) override
    {
        m_questions.append(message);
        if (m_hasHost)
            answer(*m_hasHost);
        return true;
    }

    QString introspect(const QString& /*path*/) const override { return {}; }

private:
    QDBusConnection m_bus;
    std::optional<bool> m_hasHost;
    QList<QDBusMessage> m_questions;
};

} // namespace

/// Whether the desktop draws status items, as the watcher on the bus says.
class TestStatusNotifierHost final : public TestCase
{
    Q_OBJECT

private slots:
    void aWatcherThatTakesTheNameFromAnotherIsFollowed()
    {
        const CaseTable<bool, bool> cases{
            {"the other has no host", true, false},
            {"the other has one", false, true},
            {"both have one: items must be registered with the other, too", true, true},
        };
        for (const auto& [before, after] : cases) {
            restart();
            FakeWatcher watcher(m_bus->connection(u"watcher"_s), before);
            FakeWatcher other(m_bus->connection(u"other"_s), after);
            watcher.appear();
            const StatusNotifierHost host(m_bus->connection(u"program"_s));
            QTRY_COMPARE(host.isRegistered(), std::optional(before));
            const QSignalSpy spy(&host, &StatusNotifierHost::changed);
            other.appear();
            QTRY_COMPARE(spy.count(), 1);
            QCOMPARE(host.isRegistered(), std::optional(after));
        }
    }

    void anAnswerOfTheWatcherBeforeIsIgnored()
    {
        FakeWatcher slow(m_bus->connection(u"slow"_s), std::nullopt);
        FakeWatcher watcher(m_bus->connection(u"watcher"_s), false);
        slow.appear();
        const StatusNotifierHost host(m_bus->connection(u"program"_s));
        QTRY_VERIFY(slow.isAsked());
        watcher.appear();
        QTRY_COMPARE(host.isRegistered(), std::optional(false));
        slow.answer(true);
        m_bus->awaitTurn();
        QCOMPARE(host.isRegistered(), std::optional(false));
    }

private:
    Fresh<TestBus> m_bus{this};
};

QTEST_GUILESS_MAIN(TestStatusNotifierHost)
#include "TestStatusNotifierHost.moc"
