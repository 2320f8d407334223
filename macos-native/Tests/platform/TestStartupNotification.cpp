#include "platform/StartupNotification.h"
#include "platform/XcbAtom.h"

#include "support/TestCase.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>

#include <map>

namespace {

/// Receives the messages of the protocol as a desktop does. A text comes in pieces and ends with a zero byte.
class Desktop final : public QAbstractNativeEventFilter
{
public:
    explicit Desktop(xcb_connection_t* connection)
        : m_begin(atomCalled(connection, "_NET_STARTUP_INFO_BEGIN")),
          m_next(atomCalled(connection, "_NET_STARTUP_INFO"))
    {}

    /// Returns the texts that are complete.
    QByteArrayList messages() const
    {
        QByteArrayList complete;
        for (const auto& [window, text] : m_texts) {
            if (text.contains('\0'))
                complete.append(text.left(text.indexOf('\0')));
        }
        return complete;
    }

    bool nativeEventFilter(const QByteArray& /*eventType*/, void* message, qintptr* /*result*/) override
    {
        const auto* event = static_cast<const xcb_client_message_event_t*>(message);
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            return false;
        if (event->type == m_begin)
            m_texts[event->window].clear();
        if (event->type == m_begin || event->type == m_next)
            m_texts[event->window].append(reinterpret_cast<const char*>(event->data.data8), sizeof event->data.data8);
        return false;
    }

private:
    xcb_atom_t m_begin;
    xcb_atom_t m_next;
    std::map<xcb_window_t, QByteArray> m_texts;
};

} // namespace

class TestStartupNotification final : public TestCase
{
    Q_OBJECT

public:
    static void initMain() { qputenv("QT_QPA_PLATFORM", "xcb"); }

private slots:
    void tellsTheDesktopThatEachStartIsComplete()
    {
        Desktop desktop(qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection());
        qGuiApp->installNativeEventFilter(&desktop);
        completeStartup(""); // a start without an identifier
        completeStartup("short");
        completeStartup("a \"long\" one, with a \\ in it_TIME12345");
        const QByteArrayList expected{"remove: ID=\"short\"",
                                      "remove: ID=\"a \\\"long\\\" one, with a \\\\ in it_TIME12345\""};
        QTRY_COMPARE(desktop.messages(), expected);
    }
};

QTEST_MAIN(TestStartupNotification)
#include "TestStartupNotification.moc"
