#include "settings/SettingsFixture.h"
#include "shell/primitives/NeloWindow.h"
#include "shell/primitives/ScrollingForm.h"
#include "support/Warnings.h"
#include "ui/Colors.h"
#include "ui/Forms.h"

#include <QAccessible>
#include <QFontInfo>
#include <QFrame>
#include <QScrollBar>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize smallest(640, 620);

} // namespace

/// What the settings view looks like, and how it is reached without a mouse.
class TestSettingsLayout final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_settings.emplace();
        m_window = std::make_unique<NeloWindow>(u"Nelo Settings"_s, smallest);
        m_view = new SettingsViewController;
    }

    void cleanup()
    {
        m_window.reset();
        m_settings.reset();
    }

    void readsFromTopToBottomAsGiven()
    {
        show();
        QList<const QWidget*> widgets;
        for (const QWidget* widget : m_view->findChildren<QWidget*>())
            if (qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget))
                widgets.append(widget);
        std::stable_sort(widgets.begin(), widgets.end(), [this](const QWidget* one, const QWidget* other) {
            const QRect a = frame(one);
            const QRect b = frame(other);
            return std::pair(a.center().y() / 4, a.x()) < std::pair(b.center().y() / 4, b.x());
        });
        QStringList texts;
        for (const QWidget* widget : widgets) {
            const auto* label = qobject_cast<const QLabel*>(widget);
            texts.append(label ? label->text() : qobject_cast<const QAbstractButton*>(widget)->text());
        }
        const QString expected =
            u"Nelo Core|Auto-discover local Nelo Core (127.0.0.1:8878)|Core URL (optional)|Chat|Mode|Local Model|"
            "Cloud|Provider|Cloud Model|Cloud API Key|Catalog URL|"
            "Tovani|Auto-download Tovani on chat (local mode)|Tovani Path|Save|Reload|Refresh Catalog|Settings "
            "loaded."_s;
        QCOMPARE(texts.join(u'|'), expected);
        for (const QWidget* widget : widgets)
            if (QStringList{u"Nelo Core"_s, u"Chat"_s, u"Cloud"_s, u"Tovani"_s}.contains(
                    widget->property("text").toString()))
                QCOMPARE(QFontInfo(widget->font()).pixelSize(), 15);
    }

    void offersTheGivenTitlesAndPlaceholders()
    {
        show();
        const auto titles = [this](const char* popup) {
            QStringList result;
            const auto* button = m_view->findChild<QComboBox*>(QString::fromLatin1(popup));
            for (int i = 0; i < button->count(); ++i)
                result.append(button->itemText(i));
            return result.join(u'|');
        };
        QCOMPARE(titles("chatModePopup"), u"local|cloud"_s);
        QCOMPARE(titles("localModelPopup"), u"qwen3:30b|qwen3:8b|qwen3-coder:30b"_s);
        QCOMPARE(titles("cloudProviderPopup"), u"openai|deepseek|kimi"_s);

        const auto placeholder = [this](const char* field) {
            return m_view->findChild<QLineEdit*>(QString::fromLatin1(field))->placeholderText();
        };
        QCOMPARE(placeholder("coreURLField"), u"http://127.0.0.1:8878"_s);
        QCOMPARE(placeholder("cloudModelField"), u"gpt-4o-mini"_s);
        QCOMPARE(placeholder("cloudAPIKeyField"), u"Cloud API Key"_s);
        QCOMPARE(placeholder("cloudSkillsCatalogURLField"), u"https://your-server/path/cloud_skills_catalog.json"_s);
        QCOMPARE(placeholder("tovaniPathField"), m_settings->backend.home().path(u".nelo/tovani"_s));
    }

    void standsInTheGivenMargins()
    {
        show();
        const QRect first = frame(m_view->findChild<QLabel*>()->parentWidget());
        QCOMPARE(first.topLeft(), QPoint(0, 0));
        const auto* header = m_view->findChildren<QLabel*>().at(1); // the first is the status line
        QCOMPARE(header->text(), u"Nelo Core"_s);
        QCOMPARE(frame(header).topLeft(), QPoint(24, 24));

        const auto buttons = m_view->findChildren<QPushButton*>();
        const QRect lastField = frame(m_view->findChild<QLineEdit*>(u"tovaniPathField"_s));
        QCOMPARE(frame(buttons[0]).left(), 24);
        QCOMPARE(frame(buttons[0]).top(), lastField.bottom() + 1 + 10);
        QCOMPARE(frame(buttons[1]).left(), frame(buttons[0]).right() + 1 + 8);
        QCOMPARE(frame(buttons[2]).left(), frame(buttons[1]).right() + 1 + 8);

        const QRect status = frame(m_view->findChild<QLabel*>(u"statusLabel"_s));
        QCOMPARE(status.left(), 24);
        QCOMPARE(status.right() + 1, smallest.width() - 24);
        QCOMPARE(status.top(), frame(buttons[0]).bottom() + 1 + 14);

        const auto* form = m_view->findChild<ScrollingForm*>();
        QCOMPARE(frame(form), QRect(QPoint(), smallest));
        QCOMPARE(form->widget()->minimumSizeHint().height(), status.bottom() + 1 + 24);
    }

    void rowsHaveTheGivenMeasures()
    {
        show();
        int rows = 0;
        for (const QLabel* label : m_view->findChildren<QLabel*>()) {
            if (!label->buddy())
                continue;
            ++rows;
            QCOMPARE(frame(label).left(), 24);
            QCOMPARE(label->width(), 140);
            QCOMPARE(frame(label->buddy()).left(), 24 + 140 + 12);
            QVERIFY(label->buddy()->minimumWidth() == 220);
        }
        QCOMPARE(rows, 8);

        const QRect url = frame(m_view->findChild<QLineEdit*>(u"coreURLField"_s));
        const QRect model = frame(m_view->findChild<QLineEdit*>(u"cloudModelField"_s));
        const QRect key = frame(m_view->findChild<QLineEdit*>(u"cloudAPIKeyField"_s));
        QCOMPARE(key.top(), model.bottom() + 1 + 12);

        QList<const QFrame*> separators;
        for (const QFrame* widget : m_view->findChildren<QFrame*>())
            if (widget->frameShape() == QFrame::HLine)
                separators.append(widget);
        QCOMPARE(separators.size(), 3);
        QCOMPARE(frame(separators.first()).top(), url.bottom() + 1 + 12);
        QCOMPARE(frame(separators.first()).width(), smallest.width() - 2 * 24);
    }

    void fieldsGrowWithTheWindowAndPopUpsDoNot()
    {
        show();
        m_window->resize(1000, 700);
        const auto* field = m_view->findChild<QLineEdit*>(u"coreURLField"_s);
        QTRY_COMPARE(frame(field).right() + 1, 1000 - 24);
        const auto* popup = m_view->findChild<QComboBox*>(u"chatModePopup"_s);
        QCOMPARE(popup->width(), std::max(220, popup->sizeHint().width()));
    }

    void everythingIsSeenInTheSmallestWindow()
    {
        show();
        const auto* form = m_view->findChild<ScrollingForm*>();
        QCOMPARE(m_window->size(), smallest);
        QCOMPARE(form->verticalScrollBar()->maximum(), 0);
        QCOMPARE(form->horizontalScrollBar()->maximum(), 0);
    }

    void longTextsLeaveTheWindowAlone()
    {
        const std::string lines = std::string(5'000, 'W') + std::string(500, '\n') + std::string(5'000, 'W');
        m_settings->saved({{"core", {{"url", lines}}}, {"chat", {{"local_model", lines}, {"cloud_api_key", lines}}}});
        m_settings->backend.raise("save_nelo_settings", "ValueError", lines);
        show();
        m_view->saveSettings();
        QCoreApplication::processEvents();
        QCOMPARE(m_window->size(), smallest);
        QCOMPARE(m_view->findChild<ScrollingForm*>()->verticalScrollBar()->maximum(), 0);
        QCOMPARE(m_view->findChild<ScrollingForm*>()->horizontalScrollBar()->maximum(), 0);
    }

    void theStatusIsOnePlainLine()
    {
        m_settings->backend.raise("load_nelo_settings", "ValueError", "<b>bold</b>\nsecond line");
        show();
        const auto* status = m_view->findChild<QLabel*>(u"statusLabel"_s);
        QVERIFY(status->text().contains(u"<b>bold</b>"_s));
        QCOMPARE(status->palette().color(QPalette::WindowText), Colors::secondaryText(m_view->palette()));
        QCOMPARE(status->height(), status->fontMetrics().height());
        QCOMPARE(QAccessible::queryAccessibleInterface(m_view->findChild<QLabel*>(u"statusLabel"_s))
                     ->text(QAccessible::Name),
                 status->text());
    }

    void aFormThatIsTooHighScrollsAfterTheKeyboard()
    {
        show();
        m_window->setMinimumSize(0, 0);
        m_window->resize(500, 200);
        const auto* form = m_view->findChild<ScrollingForm*>();
        QTRY_VERIFY(form->verticalScrollBar()->maximum() > 0);
        QCOMPARE(form->horizontalScrollBar()->maximum(), 0);
        const auto buttons = m_view->findChildren<QPushButton*>();
        while (QApplication::focusWidget() != buttons.last()) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QVERIFY(QRect(QPoint(), m_window->size()).contains(frame(QApplication::focusWidget())));
        }
    }

    void tabGoesThroughTheFormInReadingOrder()
    {
        show();
        QStringList stops;
        const QWidget* first = QApplication::focusWidget();
        do {
            const QWidget* stop = QApplication::focusWidget();
            const auto* button = qobject_cast<const QPushButton*>(stop);
            stops.append(button ? button->text() : stop->objectName());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        } while (QApplication::focusWidget() != first);
        QCOMPARE(stops.join(u' '),
                 u"coreAutoDiscoveryButton coreURLField chatModePopup localModelPopup cloudProviderPopup "
                 "cloudModelField cloudAPIKeyField cloudSkillsCatalogURLField autoTovaniButton "
                 "tovaniPathField Save Reload Refresh Catalog"_s);
    }

    void textsAreShownFromTheirBeginning()
    {
        m_settings->saved({{"core", {{"url", std::string(500, 'x')}}}});
        show();
        QCOMPARE(m_view->findChild<QLineEdit*>(u"coreURLField"_s)->cursorPosition(), 0);
    }

private:
    void show()
    {
        m_window->setContentViewController(m_view);
        m_window->makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    QRect frame(const QWidget* widget) const { return {widget->mapTo(m_window.get(), QPoint()), widget->size()}; }

    std::optional<SettingsFixture> m_settings;
    std::unique_ptr<NeloWindow> m_window;
    SettingsViewController* m_view = nullptr; // child of the window
};

QTEST_MAIN(TestSettingsLayout)
#include "TestSettingsLayout.moc"
