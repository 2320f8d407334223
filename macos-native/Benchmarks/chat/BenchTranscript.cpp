// The transcript side by side with a bare QTextBrowser that is given the same messages: half of them short, half 2 KB
// of mixed Chinese and Latin. Both are on a shown window, and every step is timed until its picture is painted.

#include "Pairs.h"
#include "chat/transcript/TranscriptView.h"

#include <QApplication>
#include <QScrollBar>
#include <QTextBrowser>

#include <algorithm>
#include <memory>
#include <vector>

#include <malloc.h>

namespace {

QString shortMessage(int number)
{
    return QStringLiteral("第%1个问题: is it %1?").arg(number);
}

QString longMessage(int number)
{
    const QString sentence =
        QStringLiteral("今天我们讨论第%1个问题，mixed with Latin words and numbers like %1，结束。 ").arg(number);
    QString text;
    while (text.toUtf8().size() < 2048)
        text += sentence;
    return text;
}

QString message(int number)
{
    return number % 2 == 0 ? shortMessage(number) : longMessage(number);
}

QStringList messages(int length)
{
    QStringList texts;
    for (int number = 0; number < length; ++number)
        texts.append(message(number));
    return texts;
}

Speaker speakerOf(int number)
{
    return number % 2 == 0 ? Speaker::User : Speaker::Nelo;
}

void paintNow(QWidget& widget)
{
    for (int turn = 0; turn < 3; ++turn)
        QApplication::processEvents();
    widget.repaint();
}

/// A window with a transcript.
class Transcript
{
public:
    explicit Transcript(const QStringList& texts)
    {
        for (int number = 0; number < texts.size(); ++number)
            append(number, texts[number]);
    }

    void show()
    {
        m_view.resize(900, 540);
        m_view.show();
        paintNow(m_view);
    }

    void append(int number, const QString& text) { m_view.append(speakerOf(number), text); }
    TranscriptView& widget() { return m_view; }

private:
    TranscriptView m_view;
};

/// A window with Qt's most similar widget.
class Browser
{
public:
    explicit Browser(const QStringList& texts)
    {
        QFont font = m_view.font();
        font.setPixelSize(18);
        m_view.setFont(font);
        m_view.setPlainText(texts.join(u'\n'));
    }

    void show()
    {
        m_view.resize(900, 540);
        m_view.show();
        m_view.moveCursor(QTextCursor::End); // the end of a conversation is shown first
        paintNow(m_view);
    }

    void append(int /*number*/, const QString& text)
    {
        m_view.append(text);
        m_view.verticalScrollBar()->setValue(m_view.verticalScrollBar()->maximum());
    }
    QTextBrowser& widget() { return m_view; }

private:
    QTextBrowser m_view;
};

/// Returns the milliseconds of each step of one round.
struct Times
{
    double show = 0;
    double append = 0;
    double width = 0;
    double pageUp = 0;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

template <class View> double appendTo(View& view, int number)
{
    const QString text = message(number);
    return Pairs::millisecondsOf([&view, &text, number] {
        view.append(number, text);
        paintNow(view.widget());
    });
}

template <class View> double pageUp(View& view)
{
    return Pairs::millisecondsOf([&view] {
        view.widget().verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepSub);
        paintNow(view.widget());
    });
}

template <class View> Times timesOf(const QStringList& texts)
{
    Times times;
    std::unique_ptr<View> view;
    times.show = Pairs::millisecondsOf([&view, &texts] {
        view = std::make_unique<View>(texts);
        view->show();
    });
    std::vector<double> appends;
    std::vector<double> pages;
    for (int number = 0; number < 20; ++number)
        appends.push_back(appendTo(*view, static_cast<int>(texts.size()) + number));
    times.append = median(appends);
    for (int page = 0; page < 20; ++page)
        pages.push_back(pageUp(*view));
    times.pageUp = median(pages);
    view->widget().verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMaximum);
    times.width = Pairs::millisecondsOf([&view] {
        view->widget().resize(600, 540);
        paintNow(view->widget());
    });
    return times;
}

void compare(int length)
{
    constexpr int pairs = 9;
    const QStringList texts = messages(length);
    Pairs::Result show{"transcript, show", length, {}, {}};
    Pairs::Result append{"transcript, append", length, {}, {}};
    Pairs::Result width{"transcript, width", length, {}, {}};
    Pairs::Result up{"transcript, page up", length, {}, {}};
    for (int pair = 0; pair < pairs; ++pair) {
        const bool isBareFirst = pair % 2 == 1;
        Times bare = isBareFirst ? timesOf<Browser>(texts) : Times();
        const Times ours = timesOf<Transcript>(texts);
        if (!isBareFirst)
            bare = timesOf<Browser>(texts);
        const auto add = [&ours, &bare](Pairs::Result& result, double Times::*step) {
            result.ours.push_back(ours.*step);
            result.bare.push_back(bare.*step);
        };
        add(show, &Times::show);
        add(append, &Times::append);
        add(width, &Times::width);
        add(up, &Times::pageUp);
    }
    for (const Pairs::Result& result : {show, append, width, up})
        Pairs::print(result);
}

/// Returns the heap that messages take after each was visible once and is not any more, and the size of their text.
Pairs::Result memory()
{
    constexpr int length = 2000;
    qsizetype textBytes = 0;
    Transcript view(messages(1));
    view.show();
    const std::size_t before = mallinfo2().uordblks;
    for (int number = 0; number < length; ++number) {
        const QString text = message(number);
        textBytes += text.size() * static_cast<qsizetype>(sizeof(QChar));
        view.append(number, text);
    }
    QScrollBar* bar = view.widget().verticalScrollBar();
    for (int y = 0; y < bar->maximum(); y += bar->pageStep())
        bar->setValue(y);
    bar->setValue(0); // only the first message is visible
    const auto heap = static_cast<double>(mallinfo2().uordblks - before);
    return {"transcript, heap to text", length, {heap / 1000}, {static_cast<double>(textBytes) / 1000}, "kB"};
}

} // namespace

int main(int argc, char* argv[])
{
    Pairs::useOneCore();
    const QApplication application(argc, argv);
    for (const int length : {50, 500, 5000})
        compare(length);
    for (int time = 0; time < 9; ++time)
        Pairs::print(memory());
    return 0;
}
