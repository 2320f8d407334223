// From Return in the chat window to its status line, over TLS 1.3 to a server that is far away and answers at once,
// compared with bare libcurl, in round trips. delayed_network.py must run it: in its namespace the system trusts the
// server's certificate.

#include "Pairs.h"
#include "base/ApiKeyStore.h"
#include "chat/ChatViewController.h"
#include "chat/CurlHandle.h"
#include "chat/ServerThread.h"
#include "chat/core/Conversation.h"
#include "shell/primitives/NeloWindow.h"
#include "support/Files.h"
#include "support/TestCertificate.h"
#include "support/TestHome.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QSslConfiguration>
#include <QTest>

#include <sys/mount.h>

namespace {

const char* const unit = "round trips";

HttpAnswer answerTo(const HttpRequest& /*request*/)
{
    return HttpAnswer::message(200, R"({"choices":[{"message":{"content":"Rayleigh scattering."}}]})").keptAlive();
}

/// The chat with a conversation of a given number of bytes.
class Chat final
{
public:
    explicit Chat(int bytes)
    {
        Files::create(neloChatHistoryURL(),
                      encodeChatMessages({NeloChatMessage::now(QStringLiteral("user"), QString(bytes, u'x'))}));
        m_window.setContentViewController(new ChatViewController);
        m_window.makeKeyAndOrderFront();
    }

    /// Returns the milliseconds from Return to the status line.
    double send()
    {
        m_window.findChild<QLineEdit*>(QStringLiteral("inputField"))->setText(QStringLiteral("Why?"));
        const auto* const status = m_window.findChild<QLabel*>(QStringLiteral("debugLabel"));
        return Pairs::millisecondsOf([this, status] {
            QTest::keyClick(m_window.findChild<QLineEdit*>(QStringLiteral("inputField")), Qt::Key_Return);
            while (status->text() == QStringLiteral("request started"))
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            if (status->text() != QStringLiteral("request succeeded"))
                qFatal("a message failed");
        });
    }

private:
    NeloWindow m_window{QStringLiteral("Nelo"), QSize(980, 740)};
};

void compareFirst(const QString& url, const QByteArray& authorities, double roundTrip)
{
    constexpr int bytes = 1000;
    Pairs::compare(
        "chat, first message of bytes", bytes, 9, [&] { return Chat(bytes).send() / roundTrip; },
        [&] { return CurlHandle(url, authorities).exchange(QByteArray(bytes, 'x')) / roundTrip; }, [] {}, unit);
}

void compareNext(int bytes, const QString& url, const QByteArray& authorities, double roundTrip)
{
    Chat chat(bytes);
    CurlHandle curl(url, authorities);
    const auto ours = [&] { return chat.send() / roundTrip; };
    const auto bare = [&] { return curl.exchange(QByteArray(bytes, 'x')) / roundTrip; };
    const auto warmUp = [&] {
        for (int message = 0; message < 3; ++message) { // until TCP knows how much the network can carry
            ours();
            bare();
        }
    };
    Pairs::compare("chat, next message of bytes", bytes, 9, ours, bare, warmUp, unit);
}

} // namespace

int main(int argc, char** argv)
{
    const TestHome home;
    const QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("BenchDelays"));
    Pairs::useOneCore();
    curl_global_init(CURL_GLOBAL_DEFAULT);
    if (ApiKeyStore().setKeys({{QStringLiteral("openai"), QStringLiteral("key")}}))
        qFatal("the key cannot be stored");

    const TestCertificate certificate = TestCertificate::make(QStringLiteral("IP:10.9.9.2"));
    const QByteArray authorities = QFile::encodeName(home.path(QStringLiteral("authorities.pem")));
    Files::create(QFile::decodeName(authorities), certificate.certificate.toPem());
    if (mount(authorities.constData(), curl_version_info(CURLVERSION_NOW)->cainfo, nullptr, MS_BIND, nullptr) != 0)
        qFatal("the system's certificates cannot be replaced");
    const QHostAddress here(QStringLiteral("10.9.9.1"));
    const ServerThread server([&] { return std::make_unique<HttpServer>(certificate.forServer(), here); }, answerTo);
    const QString url = server.url().replace(here.toString(), QStringLiteral("10.9.9.2"));
    qputenv("NELO_OPENAI_BASE_URL", url.toUtf8());

    const double roundTrip = qEnvironmentVariable("NELO_ROUND_TRIP").toDouble();
    compareFirst(url, authorities, roundTrip);
    for (const int bytes : {1000, 20'000, 100'000})
        compareNext(bytes, url, authorities, roundTrip);
    return EXIT_SUCCESS;
}
