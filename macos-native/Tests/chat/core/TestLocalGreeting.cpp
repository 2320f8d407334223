#include "chat/core/LocalGreeting.h"

#include "support/Warnings.h"

using namespace Qt::StringLiterals;

/// Which texts are answered without a provider.
class TestLocalGreeting final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnUnexpectedWarning(); }

    void theWelcomeIsExact() { QCOMPARE(neloWelcomeMessage, u"您好，nelo为您服务，我为您提供最简单的AI入口服务。"_s); }

    void recognisesGreetings_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isGreeting");

        for (const QString& greeting : {u"你好"_s, u"您好"_s, u"hello"_s, u"hi"_s, u"嗨"_s, u"在吗"_s})
            QTest::newRow(qPrintable(greeting)) << greeting << true;
        QTest::newRow("capitals do not matter") << u"HELLO"_s << true;
        QTest::newRow("nor do some of them") << u"Hi"_s << true;
        QTest::newRow("a mark at the end makes it something else") << u"Hello!"_s << false;
        QTest::newRow("two words are something else") << u"hello there"_s << false;
        QTest::newRow("a part of one is something else") << u"hell"_s << false;
        QTest::newRow("a longer Chinese one is something else") << u"你好吗"_s << false;
        QTest::newRow("blanks are somebody else's work") << u" hi"_s << false;
        QTest::newRow("nothing is no greeting") << QString() << false;
    }

    void recognisesGreetings()
    {
        QFETCH(QString, text);
        QTEST(isLocalGreeting(text), "isGreeting");
    }
};

QTEST_GUILESS_MAIN(TestLocalGreeting)
#include "TestLocalGreeting.moc"
