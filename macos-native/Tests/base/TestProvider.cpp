#include "base/Provider.h"

#include "support/CaseTable.h"
#include "support/TestCase.h"

using namespace Qt::StringLiterals;

/// The provider of a model, and the endpoint of a provider.
class TestProvider final : public TestCase
{
    Q_OBJECT

private slots:
    void aModelsNameTellsItsProvider()
    {
        const QString openai = u"openai"_s;
        const CaseTable<QString, QString> cases{
            {"OpenAI's", u"gpt-4o-mini"_s, openai},          {"DeepSeek's", u"deepseek-chat"_s, u"deepseek"_s},
            {"Moonshot's", u"moonshot-v1-8k"_s, u"kimi"_s},  {"the bare prefix", u"deepseek"_s, u"deepseek"_s},
            {"capital letters", u"DeepSeek-chat"_s, openai}, {"the word further on", u"my-moonshot"_s, openai},
            {"kimi's own name", u"kimi"_s, openai},          {"no name", {}, openai},
        };
        for (const auto& [model, provider] : cases)
            QCOMPARE(Provider::ofModel(model), provider);
    }

    void everyProviderHasAPublicEndpointThatTheEnvironmentReplaces()
    {
        const QString openai = u"https://api.openai.com/v1/chat/completions"_s;
        const CaseTable<QString, QString, QByteArray> cases{
            {"openai", u"openai"_s, openai, "NELO_OPENAI_BASE_URL"},
            {"deepseek", u"deepseek"_s, u"https://api.deepseek.com/chat/completions"_s, "NELO_DEEPSEEK_BASE_URL"},
            {"kimi", u"kimi"_s, u"https://api.moonshot.cn/v1/chat/completions"_s, "NELO_KIMI_BASE_URL"},
            {"another", u"someone"_s, openai, "NELO_OPENAI_BASE_URL"},
            {"capital letters are another", u"Kimi"_s, openai, "NELO_OPENAI_BASE_URL"},
        };
        for (const auto& [provider, url, variable] : cases) {
            for (const char* other : {"NELO_OPENAI_BASE_URL", "NELO_DEEPSEEK_BASE_URL", "NELO_KIMI_BASE_URL"}) {
                if (other != variable)
                    qputenv(other, "of another provider");
            }
            qunsetenv(variable.constData());
            QCOMPARE(Provider::endpoint(provider), url);
            QVERIFY(Provider::parseEndpoint(url));
            for (const char* value : {" as it stands / ", ""}) {
                qputenv(variable.constData(), value);
                QCOMPARE(Provider::endpoint(provider), QString::fromLatin1(value));
            }
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
