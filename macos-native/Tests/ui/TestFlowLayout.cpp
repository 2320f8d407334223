#include "ui/FlowLayout.h"

#include "support/Warnings.h"

#include <QHBoxLayout>
#include <QStyle>
#include <QTest>
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

/// A row that goes on in further lines.
class TestFlowLayout final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnUnexpectedWarning();
        m_view = std::make_unique<QWidget>();
        m_layout = new FlowLayout;
        m_layout->setSpacing(10);
        m_layout->setContentsMargins({});
        m_view->setLayout(m_layout);
    }

    void placesItsControls_data()
    {
        QTest::addColumn<QList<QSize>>("controls"); // as wide as asked for, and at least
        QTest::addColumn<QRect>("view");
        QTest::addColumn<QList<QRect>>("frames");
        const QRect oneLine(0, 0, 50, 20);
        QTest::newRow("in one line where there is room, to the pixel")
            << QList<QSize>{{50, 50}, {70, 70}} << QRect(0, 0, 130, 20) << QList<QRect>{oneLine, {60, 0, 70, 20}};
        QTest::newRow("in a further line where there is none")
            << QList<QSize>{{50, 50}, {70, 70}, {30, 30}} << QRect(5, 7, 129, 50)
            << QList<QRect>{{5, 7, 50, 20}, {5, 37, 70, 20}, {85, 37, 30, 20}};
        QTest::newRow("narrower where one can shrink") << QList<QSize>{{100, 40}, {50, 50}} << QRect(0, 0, 130, 20)
                                                       << QList<QRect>{{0, 0, 70, 20}, {80, 0, 50, 20}};
        QTest::newRow("in a further line where it cannot shrink enough")
            << QList<QSize>{{100, 40}, {50, 50}} << QRect(0, 0, 99, 50)
            << QList<QRect>{{0, 0, 99, 20}, {0, 30, 50, 20}};
        QTest::newRow("each as far as it can shrink") << QList<QSize>{{100, 40}, {100, 70}} << QRect(0, 0, 180, 20)
                                                      << QList<QRect>{{0, 0, 80, 20}, {90, 0, 90, 20}};
        QTest::newRow("one that is wider than the view in a line of its own")
            << QList<QSize>{{50, 50}, {200, 200}, {50, 50}} << QRect(0, 0, 120, 80)
            << QList<QRect>{oneLine, {0, 30, 200, 20}, {0, 60, 50, 20}};
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
        auto* caption = new Control({20, 20}, {20, 20}, m_view.get());
        auto* field = new Control({40, 20}, {40, 20}, m_view.get());
        pair->addWidget(caption);
        pair->addWidget(field);
        m_layout->addLayout(pair);
        m_layout->setGeometry({0, 0, 120, 50}); // the caption alone would have room
        QCOMPARE(caption->geometry(), QRect(0, 30, 20, 20));
        QCOMPARE(field->geometry(), QRect(25, 30, 40, 20));
    }

    void itAsksForOneLineAndNeedsItsWidestControl()
    {
        add({100, 20}, {40, 18});
        add(50);
        QCOMPARE(m_layout->sizeHint(), QSize(160, 20));
        QCOMPARE(m_layout->minimumSize(), QSize(50, 20));
    }

    void aControlThatIsTakenOutLeavesNoGap()
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

    void whatItHoldsEndsWithIt()
    {
        class Item final : public QSpacerItem
        {
        public:
            explicit Item(int* ended) : QSpacerItem(1, 1), m_ended(ended) {}
            Item(const Item&) = delete;
            Item& operator=(const Item&) = delete;
            ~Item() override { ++*m_ended; }

        private:
            int* m_ended;
        };
        int ended = 0;
        m_layout->addLayout(new QHBoxLayout); // which takes itself out of the layout that it is in
        m_layout->addItem(new Item(&ended));
        m_layout->addLayout(new QHBoxLayout);
        m_layout->addItem(new Item(&ended));
        m_view.reset();
        QCOMPARE(ended, 2);
    }

private:
    /// A control in the view that asks for `hint` and needs `minimum`.
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
