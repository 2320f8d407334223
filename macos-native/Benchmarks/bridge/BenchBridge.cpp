// The cost of the bridge in addition to its pipe: calls of NeloBackend, compared with a bare loop that writes the same
// bytes to the same Python script, reads up to the line feed and parses nothing.

#include "HelperServerScript.h"
#include "Pairs.h"
#include "backend/ChildReaper.h"
#include "backend/HelperProcess.h"
#include "backend/NeloBackend.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

/// Returns a text, or the given number of rows of the Agents tab.
constexpr const char* agentsModule = R"(
import functools
texts = {length: {'text': 'x' * (length - 30)} for length in (300, 3000, 30000)}
def ask(argument, length): return texts[length]
@functools.lru_cache
def rows_of(count):
    return [{'id': 'codex-%d' % i, 'name': 'Agent 助手 %d' % i, 'ecosystem': 'codex', 'origin': 'managed', 'state': 'available',
             'lastSeen': '2026-01-02T03:04:05Z', 'workspace': '/home/user/.codex/agents/codex-%d' % i,
             'createdAt': '2026-01-02T03:04:05Z'} for i in range(count)]
)";

/// The bare side: a child on two pipes and nothing else.
class BareLoop
{
public:
    BareLoop()
    {
        std::array<int, 2> in{};
        std::array<int, 2> out{};
        if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0)
            std::abort();
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        std::string script(helperServerScript);
        std::array<char, 8> python{"python3"};
        std::array<char, 3> unbuffered{"-u"};
        std::array<char, 3> command{"-c"};
        std::array<char*, 5> arguments{python.data(), unbuffered.data(), command.data(), script.data(), nullptr};
        posix_spawnp(&m_pid, "python3", &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        m_input = in[1];
        m_output = out[0];
    }
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;
    ~BareLoop()
    {
        close(m_input);
        close(m_output);
        waitpid(m_pid, nullptr, 0);
    }

    /// Returns the length of the reply.
    std::size_t exchange(const std::string& request)
    {
        if (write(m_input, request.data(), request.size()) != static_cast<ssize_t>(request.size()))
            std::abort();
        std::size_t length = 0;
        while (true) {
            const ssize_t count = read(m_output, m_buffer.data(), m_buffer.size());
            if (count <= 0)
                std::abort();
            length += static_cast<std::size_t>(count);
            if (m_buffer[static_cast<std::size_t>(count) - 1] == '\n')
                return length;
        }
    }

private:
    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
    std::vector<char> m_buffer = std::vector<char>(65536);
};

/// Calls of about 100 bytes. A round is short, so that most rounds end before another process gets the core.
/// Interpreters differ in speed by some percent, so many are compared.
void compareCalls(int length)
{
    constexpr int pairs = 600;
    constexpr int calls = 20;
    const std::string argument(50, 'y');
    const std::string request = R"({"function":"ask","args":[")" + argument + "\"," + std::to_string(length) + "]}\n";
    const auto ours = [&argument, length] {
        for (int call = 0; call < calls; ++call)
            NeloBackend::call("ask", {argument, length});
    };
    std::optional<BareLoop> bare;
    const auto theirs = [&bare, &request] {
        for (int call = 0; call < calls; ++call)
            bare->exchange(request);
    };
    Pairs::compare(
        "call, reply of bytes", length, pairs, [&ours] { return Pairs::millisecondsOf(ours) / calls; },
        [&theirs] { return Pairs::millisecondsOf(theirs) / calls; },
        [&bare] {
            NeloBackend::shutdown();
            bare.emplace();
        });
}

void compareTables(BareLoop& bare, int length, int rows)
{
    constexpr int pairs = 41;
    const std::string request = R"({"function":"rows_of","args":[)" + std::to_string(rows) + "]}\n";
    const auto ours = [rows] { NeloBackend::call("rows_of", {rows}); };
    const auto theirs = [&bare, &request] { bare.exchange(request); };
    Pairs::compare(
        "call, reply of bytes", length, pairs, [&ours] { return Pairs::millisecondsOf(ours); },
        [&theirs] { return Pairs::millisecondsOf(theirs); });
}

} // namespace

int main()
{
    Pairs::useOneCore();
    const auto folder = std::filesystem::temp_directory_path() / ("bridge-" + std::to_string(getpid())) / "nelohub";
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);
    std::ofstream("app.py") << agentsModule;
    {
        constexpr int bytesPerRow = 242;
        for (const int length : {300, 3000, 30'000})
            compareCalls(length);
        BareLoop bare;
        for (const int length : {100'000, 1'000'000, 10'000'000})
            compareTables(bare, length, length / bytesPerRow);
    }
    NeloBackend::shutdown();
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder.parent_path());
    return EXIT_SUCCESS;
}
