// The transcript side by side with a bare QTextBrowser that is given the same messages: half of them short, half 2 KB
// of mixed Chinese and Latin. Prints each figure as a ratio with its bar, and fails when one is above it.
//
// Both are on a shown window, and every step is timed until its picture is painted. Run with QT_QPA_PLATFORM=offscreen.

#include "chat/transcript/TranscriptView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <vector>

#include <malloc.h>

namespace {

constexpr int conversationLength = 500;
constexpr int rounds = 7;

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

double milliseconds(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
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

/// A window with the nearest thing that Qt brings.
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
        m_view.moveCursor(QTextCursor::End); // a conversation is shown from its end
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

struct Timings
{
    std::vector<double> show;
    std::vector<double> append;
    std::vector<double> resize;
};

template <class View> double appendTo(View& view, int number)
{
    const QString text = message(number);
    return milliseconds([&view, &text, number] {
        view.append(number, text);
        QApplication::processEvents();
    });
}

template <class View> void timeOnce(Timings& timings)
{
    const QStringList texts = messages(conversationLength);
    std::unique_ptr<View> view;
    timings.show.push_back(milliseconds([&view, &texts] {
        view = std::make_unique<View>(texts);
        view->show();
    }));
    for (int number = conversationLength; number < conversationLength + 20; ++number)
        timings.append.push_back(appendTo(*view, number));
    for (const int width : {600, 560, 520, 480, 700, 950}) {
        timings.resize.push_back(milliseconds([&view, width] {
            view->widget().resize(width, 540);
            paintNow(view->widget());
        }));
    }
}

double appendAfter(int length)
{
    Transcript view(messages(length));
    view.show();
    std::vector<double> times;
    for (int number = 0; number < 40; ++number)
        times.push_back(appendTo(view, number));
    return median(times);
}

/// Heap bytes for each byte of text, once every message was seen and is out of sight again.
double memoryPerText()
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
    bar->setValue(0); // only the very first message is in sight
    return static_cast<double>(mallinfo2().uordblks - before) / static_cast<double>(textBytes);
}

/// Prints a ratio with its bar and tells whether it is kept.
bool report(const char* what, double ratio, double bar)
{
    QTextStream(stdout) << QString::fromLatin1(what).leftJustified(48) << QString::number(ratio, 'f', 3) << " (at most "
                        << bar << ")\n";
    return ratio <= bar;
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    Timings ours;
    Timings theirs;
    for (int round = 0; round < rounds; ++round) {
        timeOnce<Transcript>(ours);
        timeOnce<Browser>(theirs);
    }
    const std::array kept{report("show 500 messages, to QTextBrowser", median(ours.show) / median(theirs.show), 0.5),
                          report("append a message, to QTextBrowser", median(ours.append) / median(theirs.append), 1.2),
                          report("change the width, to QTextBrowser", median(ours.resize) / median(theirs.resize), 0.5),
                          report("append at message 5,000, to message 10", appendAfter(5000) / appendAfter(10), 1.5),
                          report("memory of messages out of sight, to their text", memoryPerText(), 3)};
    QTextStream(stdout) << "ms: show " << median(ours.show) << " / " << median(theirs.show) << ", append "
                        << median(ours.append) << " / " << median(theirs.append) << ", width " << median(ours.resize)
                        << " / " << median(theirs.resize) << "\n";
    return std::all_of(kept.begin(), kept.end(), [](bool isKept) { return isKept; }) ? 0 : 1;
}
