// The memory that use takes: the private dirty memory after 200 openings of each window, 10,000 calls of the backend
// and 1,000 sends of the chat's client, compared with that after 20, 1,000 and 100 of them.

#include "Pairs.h"
#include "backend/NeloBackend.h"
#include "chat/client/ChatClient.h"
#include "platform/Platform.h"
#include "shell/NeloMenuBarApp.h"
#include "support/HttpServer.h"
#include "support/TestHome.h"

#include <QApplication>
#include <QEventLoop>
#include <QTest>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Returns the kilobytes of this process that were written to and that it shares with no other process.
double privateDirty()
{
    std::ifstream rollup("/proc/self/smaps_rollup");
    std::string word;
    while (rollup >> word) {
        if (word == "Private_Dirty:") {
            double kilobytes = 0;
            rollup >> kilobytes;
            return kilobytes;
        }
    }
    std::abort(); // every Linux of today has this file
}

/// Does `work` `often` times. Prints the memory at the end and after the `first` times.
void measure(const char* row, int first, int often, const std::function<void()>& work)
{
    for (int time = 0; time < first; ++time)
        work();
    const double before = privateDirty();
    for (int time = first; time < often; ++time)
        work();
    Pairs::print({row, often, {privateDirty()}, {before}, "kB"});
}

/// A provider in a process of its own, because it keeps all requests in memory.
class Provider final
{
public:
    Provider()
    {
        int ends[2];
        if (pipe(ends) != 0)
            std::abort();
        m_process = fork();
        if (m_process == 0)
            serve(ends[1]);
        char url[64] = {};
        if (read(ends[0], url, sizeof url - 1) <= 0)
            std::abort();
        qputenv("NELO_OPENAI_BASE_URL", url);
        close(ends[0]);
        close(ends[1]);
    }
    Provider(const Provider&) = delete;
    Provider& operator=(const Provider&) = delete;
    ~Provider()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }

private:
    [[noreturn]] static void serve(int output)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        HttpServer server;
        server.answerEach(HttpAnswer::message(200, R"({"choices":[{"message":{"content":"Rayleigh scattering."}}]})"));
        const QByteArray url = server.url().toUtf8();
        if (write(output, url.constData(), static_cast<std::size_t>(url.size())) != url.size())
            std::abort();
        std::exit(QCoreApplication::exec());
    }

    pid_t m_process = -1;
};

void openAndClose(NeloMenuBarApp& app, void (NeloMenuBarApp::*open)())
{
    (app.*open)();
    if (!QTest::qWaitFor([] { return QApplication::activeWindow() && QApplication::activeWindow()->isVisible(); }))
        std::abort();
    QWidget* const window = QApplication::activeWindow();
    window->close();
    if (!QTest::qWaitFor([window] { return !window->isVisible() && !window->isActiveWindow(); }))
        std::abort();
}

void measureWindows()
{
    NeloMenuBarApp app(makePlatform());
    const auto openEach = [&app] {
        for (const auto open :
             {&NeloMenuBarApp::openNelo, &NeloMenuBarApp::openNeloConsole, &NeloMenuBarApp::openSettings})
            openAndClose(app, open);
    };
    measure("memory, openings of each window", 20, 200, openEach);
}

void measureCalls()
{
    measure("memory, calls", 1000, 10'000, [] { NeloBackend::call("load_nelo_settings"); });
}

void measureSends()
{
    ChatClient client;
    measure("memory, sends", 100, 1000, [&client] {
        QEventLoop loop;
        client.callChatAPI(QStringLiteral("openai"), QStringLiteral("m"),
                           {{QStringLiteral("user"), QStringLiteral("Why is the sky blue?"), QString()}},
                           QStringLiteral("key"), [&loop](const ChatOutcome& outcome) {
                               if (!std::holds_alternative<ChatText>(outcome))
                                   std::abort();
                               loop.quit();
                           });
        loop.exec();
    });
}

} // namespace

int main(int argc, char** argv)
{
    const TestHome home;
    const Provider provider; // it forks, so it comes before the first thread
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Nelo"));
    QApplication::setApplicationName(QStringLiteral("BenchMemory"));
    QApplication::setQuitOnLastWindowClosed(false);
    measureWindows();
    measureCalls();
    measureSends();
    NeloBackend::shutdown();
    return EXIT_SUCCESS;
}
