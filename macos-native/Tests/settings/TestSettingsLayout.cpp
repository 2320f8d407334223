#include "settings/SettingsFixture.h"
#include "shell/primitives/NeloWindow.h"
#include "shell/primitives/ScrollingForm.h"
#include "support/TestCase.h"

#include <QFontInfo>
#include <QFrame>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize smallest(640, 620);

/// The settings in a window of their own.
struct SettingsWindow
{
    void show()
    {
        window.setContentViewController(view);
        window.makeKeyAndOrderFront();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }
    QRect frame(const QWidget* widget) const { return {widget->mapTo(&window, QPoint()), widget->size()}; }
    QRect frame(const char* name) const { return frame(view->findChild<QWidget*>(QString::fromLatin1(name))); }
    QRect button(const QString& title) const { return frame(Controls::button(*view, title)); }

    NeloWindow window{u"Nelo Settings"_s, smallest};
    SettingsViewController* const view = new SettingsViewController; // child of the window, once it is shown
};

} // namespace

/// What the settings view looks like, and how it is reached without a mouse.
class TestSettingsLayout final : public TestCase
{
    Q_OBJECT

private slots:
    void readsFromTopToBottomAsGiven()
    {
        m_window->show();
        QList<const QWidget*> widgets;
        for (const QWidget* widget : m_window->view->findChildren<QWidget*>())
            if (qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget))
                widgets.append(widget);
        std::stable_sort(widgets.begin(), widgets.end(), [this](const QWidget* one, const QWidget* other) {
            const QRect a = m_window->frame(one);
            const QRect b = m_window->frame(other);
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
        m_window->show();
        const auto titles = [this](const char* popup) {
            return Controls::titles(*m_window->view->findChild<QComboBox*>(QString::fromLatin1(popup))).join(u'|');
        };
        QCOMPARE(titles("chatModePopup"), u"local|cloud"_s);
        QCOMPARE(titles("localModelPopup"), u"qwen3:30b|qwen3:8b|qwen3-coder:30b"_s);
        QCOMPARE(titles("cloudProviderPopup"), u"openai|deepseek|kimi"_s);

        const auto placeholder = [this](const char* field) {
            return m_window->view->findChild<QLineEdit*>(QString::fromLatin1(field))->placeholderText();
        };
        QCOMPARE(placeholder("coreURLField"), u"http://127.0.0.1:8878"_s);
        QCOMPARE(placeholder("cloudModelField"), u"gpt-4o-mini"_s);
        QCOMPARE(placeholder("cloudAPIKeyField"), u"Cloud API Key"_s);
        QCOMPARE(placeholder("cloudSkillsCatalogURLField"), u"https://your-server/path/cloud_skills_catalog.json"_s);
        QCOMPARE(placeholder("tovaniPathField"), m_settings->backend.home().path(u".nelo/tovani"_s));
    }

    void fieldsGrowWithTheWindowAndPopUpsDoNot()
    {
        m_window->show();
        m_window->window.resize(1000, 700);
        const auto* field = m_window->view->findChild<QLineEdit*>(u"coreURLField"_s);
        QTRY_COMPARE(m_window->frame(field).right() + 1, 1000 - 24);
        const auto* popup = m_window->view->findChild<QComboBox*>(u"chatModePopup"_s);
        QCOMPARE(popup->width(), std::max(220, popup->sizeHint().width()));
    }

    void longTextsLeaveTheWindowAloneAndAreShownFromTheirBeginning()
    {
        const std::string lines = std::string(5'000, 'W') + std::string(500, '\n') + std::string(5'000, 'W');
        m_settings->saved({{"core", {{"url", lines}}}, {"chat", {{"local_model", lines}, {"cloud_api_key", lines}}}});
        m_window->show();
        QCOMPARE(m_window->window.size(), smallest);
        const auto* form = m_window->view->findChild<ScrollingForm*>();
        QCOMPARE(m_window->frame(form), QRect(QPoint(), smallest));
        QCOMPARE(form->verticalScrollBar()->maximum(), 0); // everything is in sight
        QCOMPARE(form->horizontalScrollBar()->maximum(), 0);
        QCOMPARE(m_window->view->findChild<QLineEdit*>(u"coreURLField"_s)->cursorPosition(), 0);
    }

    void everythingIsInItsPlace()
    {
        m_window->show();
        QList<int> rows;
        const auto* title = Controls::named<QLabel>(*m_window->view, u"Nelo Core"_s);
        QVERIFY(title);
        QCOMPARE(m_window->frame(title).topLeft(), QPoint(24, 24));
        for (const QLabel* label : m_window->view->findChildren<QLabel*>()) {
            if (!label->buddy())
                continue;
            const QRect field = m_window->frame(label->buddy());
            rows.append({m_window->frame(label).left(), label->width(), field.left(), label->buddy()->minimumWidth()});
        }
        const QList<int> row{24, 140, 24 + 140 + 12, 220};
        QCOMPARE(rows, row + row + row + row + row + row + row + row);

        QList<QRect> separators;
        for (const QFrame* widget : m_window->view->findChildren<QFrame*>())
            if (widget->frameShape() == QFrame::HLine)
                separators.append(m_window->frame(widget));
        QCOMPARE(separators.size(), 3);
        const QRect save = m_window->button(u"Save"_s);
        const QRect reload = m_window->button(u"Reload"_s);
        const QRect refresh = m_window->button(u"Refresh Catalog"_s);
        const QRect status = m_window->frame("statusLabel");
        QCOMPARE(
            (QList<int>{separators.first().top() - m_window->frame("coreURLField").bottom() - 1,
                        separators.first().left(), smallest.width() - 1 - separators.first().right(),
                        m_window->frame("cloudAPIKeyField").top() - m_window->frame("cloudModelField").bottom() - 1,
                        save.left(), save.top() - m_window->frame("tovaniPathField").bottom() - 1,
                        reload.left() - save.right() - 1, refresh.left() - reload.right() - 1, status.left(),
                        smallest.width() - 1 - status.right(), status.top() - save.bottom() - 1}),
            (QList<int>{12, 24, 24, 12, 24, 10, 8, 8, 24, 24, 14}));
        const auto* form = m_window->view->findChild<ScrollingForm*>();
        QCOMPARE(form->widget()->minimumSizeHint().height(), status.bottom() + 1 + 24);
    }

    void tabGoesThroughTheFormInReadingOrderAndScrollsIt()
    {
        m_window->show();
        m_window->window.setMinimumSize(0, 0);
        m_window->window.resize(500, 200);
        const auto* form = m_window->view->findChild<ScrollingForm*>();
        QTRY_VERIFY(form->verticalScrollBar()->maximum() > 0);
        QCOMPARE(form->horizontalScrollBar()->maximum(), 0);
        QStringList stops;
        const QWidget* first = QApplication::focusWidget();
        do {
            QWidget* stop = QApplication::focusWidget();
            const auto* button = qobject_cast<const QPushButton*>(stop);
            stops.append(button ? button->text() : stop->objectName());
            QTest::keyClick(stop, Qt::Key_Tab);
            QVERIFY(m_window->window.rect().contains(m_window->frame(QApplication::focusWidget())));
        } while (QApplication::focusWidget() != first);
        QCOMPARE(stops.join(u' '),
                 u"coreAutoDiscoveryButton coreURLField chatModePopup localModelPopup cloudProviderPopup "
                 "cloudModelField cloudAPIKeyField cloudSkillsCatalogURLField autoTovaniButton "
                 "tovaniPathField Save Reload Refresh Catalog"_s);
    }

private:
    Fresh<SettingsFixture> m_settings{this};
    Fresh<SettingsWindow> m_window{this};
};

QTEST_MAIN(TestSettingsLayout)
#include "TestSettingsLayout.moc"
