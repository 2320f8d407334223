#include "ui/FlowLayout.h"

#include "support/Cases.h"
#include "support/TestCase.h"

#include <QHBoxLayout>
#include <QStyle>
#include <QWidget>

namespace {

class Control final : public QWidget
{
public:
    Control(QSize hint, QSize minimum, QWidget* parent) : QWidget(parent), m_hint(hint), m_minimum(minimum) {}

    QSize sizeHint() const override { return m_hint; }
    QSize minimumSizeHint() const override { return m_minimum; }

private:
    QSize m_hint;
    QSize m_minimum;
};

} // namespace

/// A row that continues in more lines when it is too long.
class TestFlowLayout final : public TestCase
{
    Q_OBJECT

private slots:
    void init() override
    {
        TestCase::init();
        m_view = std::make_unique<QWidget>();
        m_layout = new FlowLayout;
        m_layout->setSpacing(10);
        m_layout->setContentsMargins({});
        m_view->setLayout(m_layout);
    }

    void placesItsControls_data()
    {
        // The preferred and the minimum width of each control.
        const Cases<QList<QSize>, QRect, QList<QRect>> add("controls", "view", "frames");
        add("in one line where there is room, to the pixel", {{50, 50}, {70, 70}}, {0, 0, 130, 20},
            {{0, 0, 50, 20}, {60, 0, 70, 20}});
        add("in another line where there is no room", {{50, 50}, {70, 70}, {30, 30}}, {5, 7, 129, 50},
            {{5, 7, 50, 20}, {5, 37, 70, 20}, {85, 37, 30, 20}});
        add("at their preferred widths where there is room", {{100, 40}, {50, 50}}, {0, 0, 200, 20},
            {{0, 0, 100, 20}, {110, 0, 50, 20}});
        add("narrower where one can shrink", {{100, 40}, {50, 50}}, {0, 0, 130, 20}, {{0, 0, 70, 20}, {80, 0, 50, 20}});
        add("in another line where it cannot shrink enough", {{100, 40}, {50, 50}}, {0, 0, 99, 50},
            {{0, 0, 99, 20}, {0, 30, 50, 20}});
        add("each as far as it can shrink", {{100, 40}, {100, 70}}, {0, 0, 180, 20}, {{0, 0, 80, 20}, {90, 0, 90, 20}});
        add("at their minimum widths where there is no more room", {{100, 40}, {100, 70}}, {0, 0, 120, 20},
            {{0, 0, 40, 20}, {50, 0, 70, 20}});
        add("one that is wider than the view in a line of its own", {{50, 50}, {200, 200}, {50, 50}}, {0, 0, 120, 80},
            {{0, 0, 50, 20}, {0, 30, 200, 20}, {0, 60, 50, 20}});
    }

    void placesItsControls()
    {
        QFETCH(QList<QSize>, controls);
        QFETCH(QRect, view);
        QFETCH(QList<QRect>, frames);
        QList<const QWidget*> widgets;
        for (const QSize control : controls)
            widgets.append(add({control.width(), 20}, {control.height(), 20}));
        m_layout->setGeometry(view);
        for (qsizetype i = 0; i < widgets.size(); ++i)
            QCOMPARE(widgets.at(i)->geometry(), frames.at(i));
        QCOMPARE(m_layout->heightForWidth(view.width()), frames.constLast().bottom() + 1 - view.top());

        m_view->setLayoutDirection(Qt::RightToLeft);
        m_layout->setGeometry(view);
        for (qsizetype i = 0; i < widgets.size(); ++i) {
            if (view.contains(frames.at(i)))
                QCOMPARE(widgets.at(i)->geometry(), QStyle::visualRect(Qt::RightToLeft, view, frames.at(i)));
        }
    }

    void aLineIsAsHighAsItsHighestControl()
    {
        add({50, 20}, {50, 20});
        add({50, 32}, {50, 32});
        const QWidget* third = add(50);
        QCOMPARE(m_layout->heightForWidth(110), 32 + 10 + 20);
        m_layout->setGeometry({0, 0, 110, 62});
        QCOMPARE(third->y(), 42);
    }

    void aLayoutInItStaysTogether()
    {
        add(50);
        auto* pair = new QHBoxLayout;
        pair->setSpacing(5);
        auto* caption = new Control({20, 20}, {20, 20}, nullptr);
        auto* field = new Control({40, 20}, {40, 20}, m_view.get());
        pair->addWidget(caption);
        pair->addWidget(field);
        m_layout->addLayout(pair);
        QCOMPARE(caption->parentWidget(), m_view.get());
        m_layout->setGeometry({0, 0, 120, 50}); // there is room for the caption, but not for the field
        QCOMPARE(caption->geometry(), QRect(0, 30, 20, 20));
        QCOMPARE(field->geometry(), QRect(25, 30, 40, 20));
    }

    void itPrefersOneLineAndNeedsItsWidestControl()
    {
        add({100, 20}, {40, 18});
        add(50);
        QCOMPARE(m_layout->sizeHint(), QSize(160, 20));
        QCOMPARE(m_layout->minimumSize(), QSize(50, 20));
    }

    void aRemovedControlLeavesNoGap()
    {
        QWidget* first = add(50);
        const QWidget* second = add(30);
        QCOMPARE(m_layout->count(), 2);
        m_layout->removeWidget(first);
        QCOMPARE(m_layout->count(), 1);
        QCOMPARE(m_layout->itemAt(1), nullptr);
        QCOMPARE(m_layout->takeAt(1), nullptr);
        m_layout->setGeometry({0, 0, 200, 20});
        QCOMPARE(second->geometry(), QRect(0, 0, 30, 20));
    }

    void itsItemsAreDeletedWithIt()
    {
        struct Item final : QSpacerItem
        {
            explicit Item(std::shared_ptr<int> itsCounted) : QSpacerItem(1, 1), counted(std::move(itsCounted)) {}

            std::shared_ptr<int> counted;
        };
        const auto counted = std::make_shared<int>();
        for (int i = 0; i < 2; ++i) {
            m_layout->addLayout(new QHBoxLayout); // which removes itself from the layout that it is in
            m_layout->addItem(new Item(counted));
        }
        m_view.reset();
        QCOMPARE(counted.use_count(), 1);
    }

private:
    /// Adds a control with these sizes to the view and the layout.
    QWidget* add(QSize hint, QSize minimum)
    {
        auto* control = new Control(hint, minimum, m_view.get());
        m_layout->addWidget(control);
        return control;
    }

    QWidget* add(int width) { return add({width, 20}, {width, 20}); }

    std::unique_ptr<QWidget> m_view;
    FlowLayout* m_layout = nullptr; // the view's
};

QTEST_MAIN(TestFlowLayout)
#include "TestFlowLayout.moc"
