#include "shell/legibility/Access.h"
#include "shell/legibility/Gallery.h"
#include "support/Warnings.h"

#include <QLabel>
#include <QTest>

#include <memory>

/// That everything the program shows can be heard and worked without a mouse: it has a name, and the keyboard gets
/// there.
class TestAccess final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_gallery = std::make_unique<Gallery>(); }

    void init() { failOnUnexpectedWarning(); }

    void cleanupTestCase() { m_gallery.reset(); }

    void everythingIsNamedToldAndReached_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString& name : Gallery::names())
            QTest::newRow(qPrintable(name)) << name;
    }

    void everythingIsNamedToldAndReached()
    {
        QFETCH(QString, name);
        QStringList found;
        const bool isSeen = m_gallery->show(name, [&found](QWidget& window) {
            found = Access::nameless(window) + Access::untold(window) + Access::beyondTab(window);
        });
        QVERIFY(isSeen);
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
    }

    void everyTextIsPlain_data() { everythingIsNamedToldAndReached_data(); }

    void everyTextIsPlain()
    {
        QFETCH(QString, name);
        QStringList rich;
        const bool isSeen = m_gallery->show(name, [&rich](QWidget& window) {
            for (const QLabel* label : window.findChildren<QLabel*>()) {
                if (label->textFormat() != Qt::PlainText && !label->openExternalLinks())
                    rich.append(label->text());
            }
        });
        QVERIFY(isSeen);
        QCOMPARE(rich, QStringList());
    }

private:
    std::unique_ptr<Gallery> m_gallery;
};

QTEST_MAIN(TestAccess)
#include "TestAccess.moc"
