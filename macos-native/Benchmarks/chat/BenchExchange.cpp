// An exchange of 20 KB in each direction with a server on loopback: a call of ChatClient, log and all, against a bare
// QNetworkAccessManager that keeps its connection. Calls of the two alternate; the medians of their times are printed
// in milliseconds, and their ratio.

#include "chat/client/ChatClient.h"
#include "support/HttpServer.h"
#include "support/TestCertificate.h"
#include "support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkReply>
#include <QSslConfiguration>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

namespace {

constexpr int rounds = 101;
const QString text(20'000, QLatin1Char('x'));
const QByteArray reply = R"({"choices":[{"message":{"content":")" + text.toLatin1() + R"("}}]})";

/// The reply; the connection goes on unless the request asks for its end.
HttpAnswer answerTo(const HttpRequest& request)
{
    const HttpAnswer answer = HttpAnswer::message(200, reply);
    return request.header("Connection") == "close" ? answer : answer.keptAlive();
}

/// A server in a thread of its own, as one in another process would be.
class ServerThread final
{
public:
    explicit ServerThread(const std::function<std::unique_ptr<HttpServer>()>& make)
    {
        m_context.moveToThread(&m_thread);
        m_thread.start();
        inThread([this, &make] {
            m_server = make();
            m_server->answerBy(answerTo);
        });
    }
    ServerThread(const ServerThread&) = delete;
    ServerThread& operator=(const ServerThread&) = delete;
    ~ServerThread()
    {
        inThread([this] { m_server.reset(); });
        m_thread.quit();
        m_thread.wait();
    }

    QString url() const { return m_server->url(); }

private:
    void inThread(const std::function<void()>& work)
    {
        QMetaObject::invokeMethod(&m_context, work, Qt::BlockingQueuedConnection);
    }

    QThread m_thread;
    QObject m_context;
    std::unique_ptr<HttpServer> m_server;
};

/// Milliseconds until `start` calls what it is given.
double millisecondsOf(const std::function<void(const std::function<void()>&)>& start)
{
    QEventLoop loop;
    QElapsedTimer timer;
    timer.start();
    start([&loop] { loop.quit(); });
    loop.exec();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double ours(ChatClient& client)
{
    return millisecondsOf([&client](const std::function<void()>& done) {
        client.callChatAPI(QStringLiteral("openai"), QStringLiteral("m"), {{QStringLiteral("user"), text, QString()}},
                           QStringLiteral("key"), [done](const ChatOutcome& outcome) {
                               if (!std::holds_alternative<ChatText>(outcome))
                                   std::abort();
                               done();
                           });
    });
}

double bare(QNetworkAccessManager& manager, const QUrl& url)
{
    return millisecondsOf([&manager, &url](const std::function<void()>& done) {
        QNetworkRequest request(url);
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false); // the server speaks only the first
        QNetworkReply* const answer = manager.post(request, text.toLatin1());
        QObject::connect(answer, &QNetworkReply::finished, answer, [answer, done] {
            if (answer->readAll() != reply)
                std::abort();
            answer->deleteLater();
            done();
        });
    });
}

double median(std::vector<double>& times)
{
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void compare(const char* name, const QString& url)
{
    qputenv("NELO_OPENAI_BASE_URL", url.toUtf8());
    ChatClient client;
    QNetworkAccessManager manager;
    ours(client); // both sides warm
    bare(manager, QUrl(url));
    std::vector<double> ourTimes;
    std::vector<double> bareTimes;
    for (int round = 0; round < rounds; ++round) {
        ourTimes.push_back(ours(client));
        bareTimes.push_back(bare(manager, QUrl(url)));
    }
    const double our = median(ourTimes);
    const double other = median(bareTimes);
    std::printf("%-8s ours %.2f ms, bare %.2f ms, ratio %.3f\n", name, our, other, our / other);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    setlinebuf(stdout);
    const TestHome home;
    {
        const ServerThread server([] { return std::make_unique<HttpServer>(); });
        compare("http", server.url());
    }
    const TestCertificate certificate = TestCertificate::make();
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.addCaCertificate(certificate.certificate);
    QSslConfiguration::setDefaultConfiguration(trusting);
    const ServerThread server([&certificate] { return std::make_unique<HttpServer>(certificate.forServer()); });
    compare("https", server.url());
    return EXIT_SUCCESS;
}
