// An exchange with a server on loopback, with texts of the same length in both directions: a call of ChatClient, with
// its log and its JSON, and a transfer of its worker. Both are compared with bare libcurl on a handle that keeps its
// connection.

#include "Pairs.h"
#include "chat/CurlHandle.h"
#include "chat/ServerThread.h"
#include "chat/client/ChatClient.h"
#include "chat/client/CurlWorker.h"
#include "support/Files.h"
#include "support/TestCertificate.h"
#include "support/TestHome.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSslConfiguration>

#include <cstdlib>

namespace {

QByteArray replyOf(const QString& text)
{
    return R"({"choices":[{"message":{"content":")" + text.toLatin1() + R"("}}]})";
}

/// Returns an answer with a text as long as the request's, which is the request except for a few bytes. The connection
/// stays open unless the request asks to close it.
HttpAnswer answerTo(const HttpRequest& request)
{
    const HttpAnswer answer = HttpAnswer::message(200, replyOf(QString(request.body.size(), u'x')));
    return request.header("Connection") == "close" ? answer : answer.keptAlive();
}

double ours(ChatClient& client, const QString& text)
{
    return Pairs::millisecondsOf([&client, &text] {
        QEventLoop loop;
        client.callChatAPI(QStringLiteral("openai"), QStringLiteral("m"), {{QStringLiteral("user"), text, QString()}},
                           QStringLiteral("key"), [&loop](const ChatOutcome& outcome) {
                               if (!std::holds_alternative<ChatText>(outcome))
                                   qFatal("an exchange failed");
                               loop.quit();
                           });
        loop.exec();
    });
}

double ours(CurlWorker& worker, const QUrl& url, const QByteArray& text)
{
    return Pairs::millisecondsOf([&worker, &url, &text] {
        QEventLoop loop;
        worker.send({url, QStringLiteral("key"), text}, [&loop](const ChatTransfer& transfer) {
            if (transfer.error)
                qFatal("a transfer failed");
            loop.quit();
        });
        loop.exec();
    });
}

void compare(const QString& kind, const QString& url, const QByteArray& authoritiesFile = {})
{
    qputenv("NELO_OPENAI_BASE_URL", url.toUtf8());
    const TransferLimits limits{.authoritiesFile = authoritiesFile};
    for (const int length : {2000, 20'000, 200'000}) {
        const QString text(length, u'x');
        ChatClient client(limits);
        const std::unique_ptr<CurlWorker> worker = CurlWorker::start(limits);
        CurlHandle curl(url, authoritiesFile);
        const auto bare = [&curl, &text] { return curl.exchange(text.toLatin1()); };
        Pairs::compare((QStringLiteral("chat exchange of bytes") + kind).toStdString(), length, 51,
                       [&client, &text] { return ours(client, text); }, bare);
        Pairs::compare((QStringLiteral("chat transfer of bytes") + kind).toStdString(), length, 51,
                       [&] { return ours(*worker, QUrl(url), text.toLatin1()); }, bare);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Pairs::useOneCore();
    curl_global_init(CURL_GLOBAL_DEFAULT);
    const TestHome home;
    {
        const ServerThread server([] { return std::make_unique<HttpServer>(); }, answerTo);
        compare(QString(), server.url());
    }
    const TestCertificate certificate = TestCertificate::make();
    const QString file = home.path(QStringLiteral("authorities.pem"));
    Files::create(file, certificate.certificate.toPem());
    const ServerThread server([&certificate] { return std::make_unique<HttpServer>(certificate.forServer()); },
                              answerTo);
    compare(QStringLiteral(", TLS"), server.url(), QFile::encodeName(file));
    return EXIT_SUCCESS;
}
