// What the bridge costs beyond its pipe: calls through NeloBackend against a bare loop that writes the same bytes to
// the same Python script, reads up to the line feed and parses nothing. Rounds of the two alternate on one core; ratios
// of their times are printed as minimum, median and maximum.

#include "HelperServerScript.h"
#include "backend/ChildReaper.h"
#include "backend/HelperProcess.h"
#include "backend/NeloBackend.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr int rounds = 41;

/// Answers 300 bytes, or as many rows of the Agents tab as it is asked for.
constexpr const char* agentsModule = R"(
small = {'text': 'x' * 270}
rows = [{'id': 'codex-%d' % i, 'name': 'Agent 助手 %d' % i, 'ecosystem': 'codex', 'origin': 'managed', 'state': 'available',
         'lastSeen': '2026-01-02T03:04:05Z', 'workspace': '/home/user/.codex/agents/codex-%d' % i,
         'createdAt': '2026-01-02T03:04:05Z'} for i in range(45000)]
def ask(argument): return small
def rows_of(count): return rows[:count]
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

    /// Returns how long the reply was.
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

double secondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void compare(const char* name, const std::function<void()>& ours, const std::function<void()>& bare)
{
    ours(); // both sides warm
    bare();
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const bool oursFirst = round % 2 == 0;
        const double first = secondsOf(oursFirst ? ours : bare);
        const double second = secondsOf(oursFirst ? bare : ours);
        ratios.push_back(oursFirst ? first / second : second / first);
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("%-28s %.2f (%.2f to %.2f)\n", name, ratios[ratios.size() / 2], ratios.front(), ratios.back());
}

void useOneCore()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    sched_setaffinity(0, sizeof one, &one);
}

} // namespace

int main()
{
    useOneCore();
    const auto folder = std::filesystem::temp_directory_path() / ("bridge-" + std::to_string(getpid())) / "nelohub";
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);
    std::ofstream("app.py") << agentsModule;
    {
        BareLoop bare;
        const std::string argument(60, 'y');
        const std::string smallRequest = "{\"function\":\"ask\",\"args\":[\"" + argument + "\"]}\n";
        constexpr int calls = 20'000 / rounds;
        compare(
            "small call",
            [&argument] {
                for (int call = 0; call < calls; ++call)
                    NeloBackend::call("ask", {argument});
            },
            [&bare, &smallRequest] {
                for (int call = 0; call < calls; ++call)
                    bare.exchange(smallRequest);
            });

        for (const int rows : {4'500, 45'000}) {
            const std::string request = "{\"function\":\"rows_of\",\"args\":[" + std::to_string(rows) + "]}\n";
            const std::size_t length = bare.exchange(request);
            const std::string name = "reply of " + std::to_string(length / 1000) + " kB";
            compare(
                name.c_str(), [rows] { NeloBackend::call("rows_of", {rows}); },
                [&bare, &request] { bare.exchange(request); });
        }
    }
    NeloBackend::shutdown();
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder.parent_path());
    return EXIT_SUCCESS;
}
