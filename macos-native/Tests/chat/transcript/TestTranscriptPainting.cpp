#include "chat/transcript/TranscriptView.h"

#include "support/TestCase.h"
#include "ui/Colors.h"

using namespace Qt::StringLiterals;

/// What a transcript looks like.
class TestTranscriptPainting final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        m_view->setPalette(Colors::lightAppearance(Colors::white(0.97)));
        m_view->resize(700, 400);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(&*m_view));
    }

    void paintsTheGivenColors()
    {
        m_view->append(Speaker::User, u"█"_s);
        m_view->append(Speaker::Nelo, u"█"_s);
        const QImage image = m_view->viewport()->grab().toImage();
        const QRect user = m_view->bubbleRect(0);
        const QRect nelo = m_view->bubbleRect(1);
        const auto colorAt = [&image](const QRect& bubble, int below) {
            return image.pixelColor(bubble.center().x(), bubble.top() + below).rgb();
        };
        QCOMPARE(colorAt(user, 5), qRgb(51, 120, 240));
        QCOMPARE(colorAt(user, 0), qRgb(51, 120, 240)); // no border
        QCOMPARE(colorAt(nelo, 1), Colors::white(0.98).rgb());
        QCOMPARE(QColor(colorAt(nelo, 0)).lightness(), Colors::white(0.86).lightness());
        QCOMPARE(image.pixelColor(nelo.left(), nelo.center().y()).lightness(), Colors::white(0.86).lightness());
        QCOMPARE(image.pixel(nelo.topLeft()), Colors::white(0.97).rgb());
        QCOMPARE(colorAt(user, user.height() / 2), QColorConstants::White.rgb()); // the letter
        QCOMPARE(colorAt(nelo, nelo.height() / 2), m_view->palette().color(QPalette::WindowText).rgb());
    }

    void theCornersOfABubbleAreQuartersOfACircle()
    {
        constexpr int radius = 20;
        m_view->append(Speaker::User, u"question"_s);
        const QImage image = m_view->viewport()->grab().toImage();
        const QRect bubble = m_view->bubbleRect(0);
        const auto cornerColor = [&](int across, int down) {
            return image.pixelColor(bubble.left() + across, bubble.top() + down);
        };
        QSet<QRgb> shades;
        for (int across = 0; across < radius; ++across) {
            for (int down = 0; down < across; ++down) {
                shades.insert(cornerColor(across, down).rgb());
                QVERIFY(qAbs(cornerColor(across, down).red() - cornerColor(down, across).red()) < 16);
            }
        }
        QVERIFY(shades.size() > 3); // more than those of the bubble, its border and the ground: the edge is smooth
        // The edge of the circle crosses the diagonal at 0.29 radii from both sides.
        QCOMPARE(cornerColor(4, 4), cornerColor(0, 0));
        QCOMPARE(cornerColor(7, 7), cornerColor(radius, radius));
    }

    void paintsTheSpeakersAboveTheirBubbles()
    {
        m_view->append(Speaker::Nelo, u"answer"_s);
        m_view->append(Speaker::User, u"question"_s);
        const QImage picture = m_view->viewport()->grab().toImage();
        const auto isPainted = [&picture](const QRect& area) {
            QImage plain(area.size(), picture.format());
            plain.fill(picture.pixel(area.topLeft()));
            return picture.copy(area) != plain;
        };
        const int middle = picture.width() / 2;
        const QRect nelo = m_view->bubbleRect(0);
        const QRect user = m_view->bubbleRect(1);
        const QRect nelosName(nelo.left(), 0, middle - nelo.left(), nelo.top());
        const QRect besideTheUser(0, nelo.bottom() + 2, middle, user.top() - nelo.bottom() - 4);
        QVERIFY(isPainted(nelosName));
        QVERIFY(!isPainted({middle, 0, middle, nelo.top()}));
        QVERIFY(isPainted(besideTheUser.translated(middle, 0)));
        QVERIFY(!isPainted(besideTheUser));

        QFont large = m_view->font();
        large.setPixelSize(30);
        m_view->setFont(large); // the names have a font of their own
        QCOMPARE(m_view->viewport()->grab(nelosName).toImage(), picture.copy(nelosName));
    }

    void paintsTextAsItStands()
    {
        const auto picture = [this](const QString& text) {
            m_view->clear();
            m_view->append(Speaker::Nelo, text);
            return m_view->viewport()->grab().toImage();
        };
        m_view->append(Speaker::Nelo, u"x"_s);
        const QImage empty = picture(QString());
        for (const QString& text :
             {u"<b>bold</b>"_s, u"**bold**"_s, u"שלום, world"_s, u"👨‍👩‍👧‍👦"_s,
              u"e\u0301\u0301\u0301"_s, u"\u202Eoverride"_s, u"\U0010FFFF\uFFFE\0"_s, QString(QChar(0xD800)) + u'x'}) {
            QVERIFY2(picture(text) != empty, qPrintable(text));
            QVERIFY(m_view->bubbleRect(0).width() > 2 * 18);
        }
        picture(u"<b>bold</b>"_s);
        const int withMarkup = m_view->bubbleRect(0).width();
        picture(u"bold"_s);
        QVERIFY(m_view->bubbleRect(0).width() < withMarkup);
    }

private:
    Fresh<TranscriptView> m_view{this};
};

QTEST_MAIN(TestTranscriptPainting)
#include "TestTranscriptPainting.moc"
