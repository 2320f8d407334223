#include "shell/legibility/Access.h"
#include "shell/legibility/Gallery.h"
#include "shell/primitives/NeloWindow.h"
#include "support/TestCase.h"

#include <QApplication>

using namespace Qt::StringLiterals;

/// Checks that everything which the program shows can be heard and operated without a mouse: it has a name and a plain
/// text, Tab reaches it in the order of reading, and it shows that it has the keyboard focus.
class TestAccess final : public TestCase
{
    Q_OBJECT

private slots:
    void everythingIsInTheAccessibleTreeAndReachedByTab()
    {
        QApplication::setCursorFlashTime(0); // a text cursor is always visible
        Gallery gallery;
        gallery.showEach([](const QString& name, QWidget& window) {
            QStringList found = Access::withoutName(window) + Access::withoutAccessibleText(window)
                                + Access::withRichText(window) + Access::notReachedByTab(window)
                                + Access::withoutVisibleFocus(window);
            if (qobject_cast<NeloWindow*>(&window)) // in a dialog, the button that accepts comes first
                found += Access::outOfOrder(window);
            QVERIFY2(found.isEmpty(), qPrintable(name + u":\n"_s + found.join(u'\n')));
        });
    }
};

QTEST_MAIN(TestAccess)
#include "TestAccess.moc"
