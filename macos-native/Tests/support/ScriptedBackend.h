#pragma once

#include "base/Json.h"
#include "support/TestHome.h"

#include <functional>
#include <string>
#include <vector>

/// Runs the real helper process on a scripted module `app`: in a temporary folder named "nelohub", which is the working
/// directory while the object lives, and with a temporary home.
class ScriptedBackend final
{
public:
    struct Call
    {
        std::string function;
        Json args;

        bool operator==(const Call&) const = default;
    };

    ScriptedBackend();
    ScriptedBackend(const ScriptedBackend&) = delete;
    ScriptedBackend& operator=(const ScriptedBackend&) = delete;
    /// Shuts the bridge down and goes back to the earlier working directory.
    ~ScriptedBackend();

    /// From now on `function` runs `steps`, objects of one member each, as scripted/app.py knows them. The last one's
    /// outcome is the function's.
    void script(const std::string& function, const std::vector<Json>& steps);
    /// From now on `function` answers `result`.
    void answer(const std::string& function, const Json& result);
    /// From now on `function` raises the built-in exception `type` with `message`.
    void raise(const std::string& function, const std::string& type, const std::string& message);

    /// What `look` sees while the call of `function` that `action` makes is under way, which then answers `reply`. It
    /// looks from another thread: the one that calls waits.
    QString seenDuring(const std::string& function, const Json& reply, const std::function<QString()>& look,
                       const std::function<void()>& action);

    /// What was asked so far, oldest first, with the arguments as the module got them.
    std::vector<Call> calls() const;
    /// How often `function` was called.
    int count(const std::string& function) const;

    /// The folder the helper runs in, or the absolute path of `relative` there.
    QString folder(const QString& relative = QString()) const;
    const TestHome& home() const { return m_home; }

private:
    TestHome m_home;
    QString m_workingDirectoryBefore;
    QTemporaryDir m_parent;
    Json m_script = Json::object();
};
