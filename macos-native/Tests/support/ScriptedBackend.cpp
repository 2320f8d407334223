#include "support/ScriptedBackend.h"

#include "backend/NeloBackend.h"
#include "support/Files.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <future>
#include <thread>

ScriptedBackend::ScriptedBackend() : m_workingDirectoryBefore(QDir::currentPath())
{
    NeloBackend::shutdown();
    QDir(m_parent.path()).mkdir(QStringLiteral("nelohub"));
    QFile::copy(QStringLiteral(NELO_SCRIPTED_MODULE), folder(QStringLiteral("app.py")));
    script("nothing", {});
    QDir::setCurrent(folder());
}

ScriptedBackend::~ScriptedBackend()
{
    NeloBackend::shutdown();
    QDir::setCurrent(m_workingDirectoryBefore);
}

void ScriptedBackend::script(const std::string& function, const std::vector<Json>& steps)
{
    m_script[function] = steps;
    Files::create(folder(QStringLiteral("script.json")), QByteArray::fromStdString(m_script.dump()));
}

void ScriptedBackend::answer(const std::string& function, const Json& result)
{
    script(function, {{{"answer", result}}});
}

void ScriptedBackend::raise(const std::string& function, const std::string& type, const std::string& message)
{
    script(function, {{{"raise", Json::array({type, message})}}});
}

QString ScriptedBackend::seenDuring(const std::string& function, const Json& reply,
                                    const std::function<QString()>& look, const std::function<void()>& action)
{
    const QString go = folder(QStringLiteral("go"));
    script(function, {{{"wait-for-file", go}}, {{"answer", reply}}});
    auto seen = std::async(std::launch::async, [&, before = count(function)] {
        while (count(function) == before)
            std::this_thread::yield();
        const QString text = look();
        Files::create(go, {});
        return text;
    });
    action();
    return seen.get();
}

std::vector<ScriptedBackend::Call> ScriptedBackend::calls() const
{
    std::vector<Call> calls;
    QByteArrayList lines = Files::contentOf(folder(QStringLiteral("calls.jsonl"))).split('\n');
    lines.removeLast(); // the part after the last line feed
    for (const QByteArray& line : std::as_const(lines)) {
        const Json call = Json::parse(line.toStdString());
        calls.push_back({call.at("function"), call.at("args")});
    }
    return calls;
}

int ScriptedBackend::count(const std::string& function) const
{
    const std::vector<Call> all = calls();
    return static_cast<int>(
        std::count_if(all.begin(), all.end(), [&function](const Call& call) { return call.function == function; }));
}

QString ScriptedBackend::folder(const QString& relative) const
{
    const QDir hub(m_parent.filePath(QStringLiteral("nelohub")));
    return relative.isEmpty() ? hub.path() : hub.filePath(relative);
}
