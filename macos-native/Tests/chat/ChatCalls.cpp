#include "chat/ChatCalls.h"

#include "chat/core/ChatLog.h"
#include "chat/core/ChatReport.h"
#include "support/Files.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTestEventLoop>

namespace {

constexpr std::array endpointVariables{"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"};

} // namespace

ChatCalls::ChatCalls(const TransferLimits& limits) : client(std::make_unique<ChatClient>(limits))
{
    setEndpoint(server.url());
}

ChatCalls::~ChatCalls()
{
    for (const char* variable : endpointVariables)
        qunsetenv(variable);
}

void ChatCalls::setEndpoint(const QString& url)
{
    for (const char* variable : endpointVariables)
        qputenv(variable, url.toUtf8());
}

void ChatCalls::start(const QString& question, const QString& apiKey)
{
    client->callChatAPI(QStringLiteral("openai"), QStringLiteral("gpt-4o-mini"),
                        {NeloChatMessage::now(QStringLiteral("user"), question)}, apiKey,
                        [this](const ChatOutcome& outcome) {
                            outcomes.push_back(outcome);
                            QTestEventLoop::instance().exitLoop();
                        });
}

ChatOutcome ChatCalls::ask(const QString& apiKey)
{
    outcomes.clear();
    start(QStringLiteral("hi"), apiKey);
    return waitForOutcomes(1) ? outcomes.back() : NeloChatError{QStringLiteral("no outcome")};
}

bool ChatCalls::waitForOutcomes(std::size_t count) const
{
    QTestEventLoop& loop = QTestEventLoop::instance();
    const int timeout = 30; // seconds
    do {
        if (outcomes.size() < count)
            loop.enterLoop(timeout);
    } while (outcomes.size() < count && !loop.timeout());
    return outcomes.size() == count;
}

QStringList ChatCalls::logEntries() const
{
    static const QRegularExpression time(QStringLiteral("^\\[[^]]*\\] "), QRegularExpression::MultilineOption);
    QString log = QString::fromUtf8(Files::contentOf(neloChatLogURL()));
    return log.remove(time).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QByteArray replyBody(const QString& content)
{
    const QJsonObject message{{QStringLiteral("role"), QStringLiteral("assistant")},
                              {QStringLiteral("content"), content}};
    const QJsonArray choices{QJsonObject{{QStringLiteral("index"), 0}, {QStringLiteral("message"), message}}};
    return QJsonDocument(QJsonObject{{QStringLiteral("choices"), choices}}).toJson(QJsonDocument::Compact);
}

QString textOf(const ChatOutcome& outcome)
{
    const auto* const reply = std::get_if<ChatText>(&outcome);
    return reply != nullptr ? reply->text : u'<' + errorDescription(outcome) + u'>';
}

QString questionOf(const HttpRequest& request)
{
    const QJsonArray messages = QJsonDocument::fromJson(request.body).object()[QStringLiteral("messages")].toArray();
    return messages.last().toObject()[QStringLiteral("content")].toString();
}
