#include "base/Provider.h"

#include "support/Warnings.h"

#include <QTest>

/// Which provider a model belongs to, and where its requests go.
class TestProvider final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void cleanup()
    {
        for (const char* variable : {"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"})
            qunsetenv(variable);
    }

    void aModelsNameTellsItsProvider_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("provider");
        const QString openai = QStringLiteral("openai");
        QTest::newRow("gpt-4o-mini") << QStringLiteral("gpt-4o-mini") << openai;
        QTest::newRow("gpt-4.1-mini") << QStringLiteral("gpt-4.1-mini") << openai;
        QTest::newRow("deepseek-chat") << QStringLiteral("deepseek-chat") << QStringLiteral("deepseek");
        QTest::newRow("moonshot-v1-8k") << QStringLiteral("moonshot-v1-8k") << QStringLiteral("kimi");
        QTest::newRow("the bare prefix") << QStringLiteral("deepseek") << QStringLiteral("deepseek");
        QTest::newRow("capital letters") << QStringLiteral("DeepSeek-chat") << openai;
        QTest::newRow("the word further on") << QStringLiteral("my-moonshot") << openai;
        QTest::newRow("kimi's own name") << QStringLiteral("kimi") << openai;
        QTest::newRow("no name") << QString() << openai;
    }

    void aModelsNameTellsItsProvider()
    {
        QFETCH(QString, model);
        QFETCH(QString, provider);
        QCOMPARE(Provider::ofModel(model), provider);
    }

    void everyProviderHasAPublicEndpoint_data()
    {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<QString>("url");
        const QString openai = QStringLiteral("https://api.openai.com/v1/chat/completions");
        QTest::newRow("openai") << QStringLiteral("openai") << openai;
        QTest::newRow("deepseek") << QStringLiteral("deepseek")
                                  << QStringLiteral("https://api.deepseek.com/chat/completions");
        QTest::newRow("kimi") << QStringLiteral("kimi")
                              << QStringLiteral("https://api.moonshot.cn/v1/chat/completions");
        QTest::newRow("another") << QStringLiteral("someone") << openai;
        QTest::newRow("capital letters are another") << QStringLiteral("Kimi") << openai;
    }

    void everyProviderHasAPublicEndpoint()
    {
        QFETCH(QString, provider);
        QFETCH(QString, url);
        QCOMPARE(Provider::endpoint(provider), url);
        QVERIFY(Provider::parseEndpoint(url));
    }

    void theEnvironmentHoldsTheWholeUrl_data()
    {
        QTest::addColumn<QString>("provider");
        QTest::addColumn<QByteArray>("variable");
        QTest::newRow("openai") << QStringLiteral("openai") << QByteArray("NELO_OPENAI_BASE_URL");
        QTest::newRow("deepseek") << QStringLiteral("deepseek") << QByteArray("NELO_DEEPSEEK_BASE_URL");
        QTest::newRow("kimi") << QStringLiteral("kimi") << QByteArray("NELO_KIMI_BASE_URL");
        QTest::newRow("another") << QStringLiteral("someone") << QByteArray("NELO_OPENAI_BASE_URL");
    }

    void theEnvironmentHoldsTheWholeUrl()
    {
        QFETCH(QString, provider);
        QFETCH(QByteArray, variable);
        qputenv(variable.constData(), " as it stands / ");
        QCOMPARE(Provider::endpoint(provider), QStringLiteral(" as it stands / "));
        QVERIFY(
            Provider::endpoint(provider == QStringLiteral("kimi") ? QStringLiteral("deepseek") : QStringLiteral("kimi"))
                .startsWith(QStringLiteral("https://api.")));
    }

    void anEmptyVariableCounts()
    {
        qputenv("NELO_KIMI_BASE_URL", "");
        QCOMPARE(Provider::endpoint(QStringLiteral("kimi")), QString());
    }

    void aUrlIsReadStrictly_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isUrl");
        QTest::newRow("an endpoint") << QStringLiteral("https://api.example/v1/chat/completions") << true;
        QTest::newRow("a port and a query") << QStringLiteral("http://127.0.0.1:8080/v1?x=1&y=%20") << true;
        QTest::newRow("an IPv6 address") << QStringLiteral("http://[::1]:8080/") << true;
        QTest::newRow("a path in Chinese") << QStringLiteral("http://h/你好") << true;
        QTest::newRow("a scheme that cannot be used") << QStringLiteral("ftp://h/") << true;
        QTest::newRow("no scheme") << QStringLiteral("api.example/v1") << true;
        QTest::newRow("nothing") << QString() << false;
        QTest::newRow("a blank") << QStringLiteral(" ") << false;
        QTest::newRow("words") << QStringLiteral("not a url") << false;
        QTest::newRow("a blank before") << QStringLiteral(" http://h/") << false;
        QTest::newRow("a blank after") << QStringLiteral("http://h/ ") << false;
        QTest::newRow("a blank in the path") << QStringLiteral("http://h/a b") << false;
        QTest::newRow("a blank in the host") << QStringLiteral("http://a b/") << false;
        QTest::newRow("a line feed") << QStringLiteral("http://h/\n") << false;
        QTest::newRow("a bracket that is not closed") << QStringLiteral("http://[::1/") << false;
        QTest::newRow("something after the bracket") << QStringLiteral("http://[::1]x/") << false;
        QTest::newRow("a port that is no number") << QStringLiteral("http://h:port/") << false;
        QTest::newRow("a port beyond all ports") << QStringLiteral("http://h:65536/") << false;
        QTest::newRow("a percent sign for itself") << QStringLiteral("http://h/100%") << false;
    }

    void aUrlIsReadStrictly()
    {
        QFETCH(QString, text);
        QFETCH(bool, isUrl);
        const std::optional<QUrl> url = Provider::parseEndpoint(text);
        QCOMPARE(url.has_value(), isUrl);
        if (url)
            QCOMPARE(*url, QUrl(text));
    }
};

QTEST_GUILESS_MAIN(TestProvider)
#include "TestProvider.moc"
