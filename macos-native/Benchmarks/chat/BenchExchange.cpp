// An exchange of texts of one length in both directions with a server on loopback: a call of ChatClient, log and all,
// against bare libcurl on a handle that keeps its connection.

#include "Pairs.h"
#include "chat/client/ChatClient.h"
#include "support/HttpServer.h"
#include "support/TestCertificate.h"
#include "support/TestHome.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QSslConfiguration>
#include <QTemporaryFile>
#include <QThread>

#include <cstdlib>
#include <functional>

#include <curl/curl.h>

namespace {

QByteArray replyOf(const QString& text)
{
    return R"({"choices":[{"message":{"content":")" + text.toLatin1() + R"("}}]})";
}

/// As long a text as was sent, which is all but a few bytes of the request; the connection goes on unless the request
/// asks for its end.
HttpAnswer answerTo(const HttpRequest& request)
{
    const HttpAnswer answer = HttpAnswer::message(200, replyOf(QString(request.body.size(), u'x')));
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

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* destination)
{
    static_cast<QByteArray*>(destination)->append(bytes, static_cast<qsizetype>(size * count));
    return size * count;
}

/// The bare side.
class CurlHandle final
{
public:
    CurlHandle(const QString& url, const QString& certificateFile) : m_handle(curl_easy_init())
    {
        curl_easy_setopt(m_handle, CURLOPT_URL, url.toUtf8().constData());
        curl_easy_setopt(m_handle, CURLOPT_CAINFO, QFile::encodeName(certificateFile).constData());
        curl_easy_setopt(m_handle, CURLOPT_NOPROXY, "*");
        curl_easy_setopt(m_handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
        curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, append);
        m_headers = curl_slist_append(m_headers, "Content-Type: application/json");
        m_headers = curl_slist_append(m_headers, "Expect:");
        curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
    }
    CurlHandle(const CurlHandle&) = delete;
    CurlHandle& operator=(const CurlHandle&) = delete;
    ~CurlHandle()
    {
        curl_easy_cleanup(m_handle);
        curl_slist_free_all(m_headers);
    }

    double exchange(const QByteArray& text)
    {
        return Pairs::millisecondsOf([this, &text] {
            QByteArray reply;
            curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, text.constData());
            curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(text.size()));
            curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, &reply);
            if (const CURLcode failure = curl_easy_perform(m_handle); failure != CURLE_OK)
                qFatal("%s", curl_easy_strerror(failure));
            if (reply.size() < text.size())
                qFatal("a reply was cut short");
        });
    }

private:
    CURL* m_handle;
    curl_slist* m_headers = nullptr;
};

void compare(const char* row, const QString& url, const QString& certificateFile = {})
{
    qputenv("NELO_OPENAI_BASE_URL", url.toUtf8());
    for (const int length : {2000, 20'000, 200'000}) {
        const QString text(length, u'x');
        ChatClient client;
        CurlHandle curl(url, certificateFile);
        Pairs::compare(
            row, length, 51, [&client, &text] { return ours(client, text); },
            [&curl, &text] { return curl.exchange(text.toLatin1()); });
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
        const ServerThread server([] { return std::make_unique<HttpServer>(); });
        compare("chat exchange of bytes", server.url());
    }
    const TestCertificate certificate = TestCertificate::make();
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.addCaCertificate(certificate.certificate);
    QSslConfiguration::setDefaultConfiguration(trusting);
    const ServerThread server([&certificate] { return std::make_unique<HttpServer>(certificate.forServer()); });
    QTemporaryFile authority;
    if (!authority.open() || authority.write(certificate.certificate.toPem()) < 0 || !authority.flush())
        qFatal("the certificate cannot be written");
    compare("chat exchange of bytes, TLS", server.url(), authority.fileName());
    return EXIT_SUCCESS;
}
