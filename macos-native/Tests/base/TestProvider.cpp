#include "base/Provider.h"

#include "support/Cases.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// Which provider a model belongs to, and where its requests go.
class TestProvider final : public TestCase
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        for (const char* variable : {"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"})
            qunsetenv(variable);
    }

    void aModelsNameTellsItsProvider_data()
    {
        const Cases<QString, QString> add("model", "provider");
        const QString openai = u"openai"_s;
        add("gpt-4o-mini", u"gpt-4o-mini"_s, openai);
        add("gpt-4.1-mini", u"gpt-4.1-mini"_s, openai);
        add("deepseek-chat", u"deepseek-chat"_s, u"deepseek"_s);
        add("moonshot-v1-8k", u"moonshot-v1-8k"_s, u"kimi"_s);
        add("the bare prefix", u"deepseek"_s, u"deepseek"_s);
        add("capital letters", u"DeepSeek-chat"_s, openai);
        add("the word further on", u"my-moonshot"_s, openai);
        add("kimi's own name", u"kimi"_s, openai);
        add("no name", {}, openai);
    }

    void aModelsNameTellsItsProvider()
    {
        QFETCH(QString, model);
        QFETCH(QString, provider);
        QCOMPARE(Provider::ofModel(model), provider);
    }

    void everyProviderHasAPublicEndpointThatTheEnvironmentReplaces_data()
    {
        const Cases<QString, QString, QByteArray> add("provider", "url", "variable");
        const QString openai = u"https://api.openai.com/v1/chat/completions"_s;
        add("openai", u"openai"_s, openai, "NELO_OPENAI_BASE_URL");
        add("deepseek", u"deepseek"_s, u"https://api.deepseek.com/chat/completions"_s, "NELO_DEEPSEEK_BASE_URL");
        add("kimi", u"kimi"_s, u"https://api.moonshot.cn/v1/chat/completions"_s, "NELO_KIMI_BASE_URL");
        add("another", u"someone"_s, openai, "NELO_OPENAI_BASE_URL");
        add("capital letters are another", u"Kimi"_s, openai, "NELO_OPENAI_BASE_URL");
    }

    void everyProviderHasAPublicEndpointThatTheEnvironmentReplaces()
    {
        QFETCH(QString, provider);
        QFETCH(QString, url);
        QFETCH(QByteArray, variable);
        for (const char* other : {"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"}) {
            if (other != variable)
                qputenv(other, "of another provider");
        }
        QCOMPARE(Provider::endpoint(provider), url);
        QVERIFY(Provider::parseEndpoint(url));
        for (const char* value : {" as it stands / ", ""}) {
            qputenv(variable.constData(), value);
            QCOMPARE(Provider::endpoint(provider), QString::fromLatin1(value));
        }
    }

    void aUrlIsReadStrictly()
    {
        for (const char* text : {"https://api.example/v1/chat/completions", "http://127.0.0.1:8080/v1?x=1&y=%20",
                                 "http://[::1]:8080/", "http://h/你好", "ftp://h/", "api.example/v1"}) {
            const QString url = QString::fromUtf8(text);
            QCOMPARE(Provider::parseEndpoint(url), QUrl(url));
        }
        for (const char* text :
             {"", " ", "not a url", " http://h/", "http://h/ ", "http://h/a b", "http://a b/", "http://h/\n",
              "http://[::1/", "http://[::1]x/", "http://h:port/", "http://h:65536/", "http://h/100%"})
            QVERIFY2(!Provider::parseEndpoint(QString::fromUtf8(text)), text);
    }
};

QTEST_GUILESS_MAIN(TestProvider)
#include "TestProvider.moc"
