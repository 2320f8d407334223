#include "shell/legibility/Access.h"
#include "shell/legibility/Gallery.h"
#include "shell/primitives/NeloWindow.h"
#include "support/Warnings.h"

#include <QApplication>
#include <QTest>

#include <memory>

/// That everything the program shows can be heard and worked without a mouse: it has a name and a plain text, the
/// keyboard gets there in the order in which it is read, and whoever works by it sees where it is.
class TestAccess final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QApplication::setCursorFlashTime(0); // a text cursor is always there
        m_gallery = std::make_unique<Gallery>();
    }

    void init() { failOnUnexpectedWarning(); }

    void cleanupTestCase() { m_gallery.reset(); }

    void everythingIsToldAndReached_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString& name : Gallery::names())
            QTest::newRow(qPrintable(name)) << name;
    }

    void everythingIsToldAndReached()
    {
        QFETCH(QString, name);
        QStringList found;
        const bool isSeen = m_gallery->show(name, [&found](QWidget& window) {
            found = Access::nameless(window) + Access::untold(window) + Access::rich(window) + Access::beyondTab(window)
                    + Access::withoutSight(window);
            if (qobject_cast<NeloWindow*>(&window)) // in a dialog, the button that accepts comes first
                found += Access::outOfOrder(window);
        });
        QVERIFY(isSeen);
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
    }

private:
    std::unique_ptr<Gallery> m_gallery;
};

QTEST_MAIN(TestAccess)
#include "TestAccess.moc"
