#include "backend/HelperProcess.h"

#include "backend/ChildReaper.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <optional>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#ifdef __linux__
#include <sys/epoll.h>
#include <sys/syscall.h>
#endif

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves its declaration to the program

namespace {

std::error_code errorOf(int number)
{
    return {number, std::generic_category()};
}

struct Pipe
{
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

bool openCloseOnExec(std::array<int, 2>& ends)
{
#ifdef __linux__
    return pipe2(ends.data(), O_CLOEXEC) == 0;
#else
    if (pipe(ends.data()) != 0)
        return false;
    return fcntl(ends[0], F_SETFD, FD_CLOEXEC) == 0 && fcntl(ends[1], F_SETFD, FD_CLOEXEC) == 0;
#endif
}

/// Moves a descriptor to a number above those of the standard streams. A descriptor gets such a low number when one of
/// our own standard streams is closed. Setting up the child's streams, or opening ours again, would overwrite it.
FileDescriptor clearOfStandardStreams(FileDescriptor descriptor)
{
    if (descriptor.get() > STDERR_FILENO)
        return descriptor;
    return FileDescriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

/// Returns nothing when no descriptor is free. errno has the reason then.
std::optional<Pipe> makePipe()
{
    std::array<int, 2> ends{-1, -1};
    if (!openCloseOnExec(ends))
        return std::nullopt;
    Pipe result{clearOfStandardStreams(FileDescriptor(ends[0])), clearOfStandardStreams(FileDescriptor(ends[1]))};
    if (result.readEnd.get() < 0 || result.writeEnd.get() < 0)
        return std::nullopt;
    return result;
}

/// Keeps ended children until they are reaped, also when this program was started with SIGCHLD ignored. Otherwise the
/// id of an ended child could already belong to another process.
void keepEndedChildren()
{
    struct sigaction now
    {};
    sigaction(SIGCHLD, nullptr, &now);
    if (now.sa_handler == SIG_IGN)
        std::signal(SIGCHLD, SIG_DFL);
}

/// The folder and the streams of a child. Its signals get the state that programs expect at their start.
class SpawnSettings final
{
public:
    SpawnSettings()
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
        sigset_t none{};
        sigemptyset(&none);
        sigset_t defaults{};
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        sigaddset(&defaults, SIGCHLD);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &defaults);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings()
    {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }

    void setFolder(const std::filesystem::path& folder)
    {
        posix_spawn_file_actions_addchdir_np(&m_actions, folder.c_str());
    }
    void setStream(int stream, const FileDescriptor& descriptor)
    {
        posix_spawn_file_actions_adddup2(&m_actions, descriptor.get(), stream);
    }

    const posix_spawn_file_actions_t* actions() const { return &m_actions; }
    const posix_spawnattr_t* attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

} // namespace

HelperProcess::Launch HelperProcess::launch(const std::vector<std::string>& command,
                                            const std::filesystem::path& workingDirectory, ChildReaper& reaper)
{
    std::optional<Pipe> input = makePipe();
    std::optional<Pipe> output = input ? makePipe() : std::nullopt;
    std::optional<Pipe> errors = output ? makePipe() : std::nullopt;
    if (!errors)
        return errorOf(errno);

    SpawnSettings settings;
    settings.setFolder(workingDirectory);
    settings.setStream(STDIN_FILENO, input->readEnd);
    settings.setStream(STDOUT_FILENO, output->writeEnd);
    settings.setStream(STDERR_FILENO, errors->writeEnd);

    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    std::transform(words.begin(), words.end(), std::back_inserter(arguments),
                   [](std::string& word) { return word.data(); });
    arguments.push_back(nullptr);

    // SIGPIPE is ignored in the whole process, as Qt does before it writes to a process or a socket. Blocking it in one
    // thread would take two calls around each write, which is a tenth of the time of a short exchange.
    std::signal(SIGPIPE, SIG_IGN);
    keepEndedChildren();
    pid_t pid = -1;
    const int failure =
        posix_spawn(&pid, arguments.front(), settings.actions(), settings.attributes(), arguments.data(), environ);
    if (failure != 0)
        return errorOf(failure);
    return HelperProcess(pid, std::move(input->writeEnd), std::move(output->readEnd), std::move(errors->readEnd),
                         reaper);
}

HelperProcess::ExitWatch::ExitWatch([[maybe_unused]] pid_t pid)
{
#ifdef __linux__
    process = clearOfStandardStreams(FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, pid, 0U))));
    events = clearOfStandardStreams(FileDescriptor(epoll_create1(EPOLL_CLOEXEC)));
    epoll_event exit{.events = EPOLLIN, .data = {}};
    isWatched = epoll_ctl(events.get(), EPOLL_CTL_ADD, process.get(), &exit) == 0;
#endif
}

HelperProcess::HelperProcess(pid_t pid, FileDescriptor input, FileDescriptor output, FileDescriptor errors,
                             ChildReaper& reaper)
    : m_pid(pid), m_exit(pid), m_input(std::move(input)), m_output(std::move(output)), m_errors(std::move(errors)),
      m_buffer(std::make_unique_for_overwrite<ReadBuffer>()), m_reaper(&reaper)
{}

HelperProcess::HelperProcess(HelperProcess&& other) noexcept
    : m_pid(std::exchange(other.m_pid, -1)), m_exit(std::move(other.m_exit)), m_input(std::move(other.m_input)),
      m_output(std::move(other.m_output)), m_errors(std::move(other.m_errors)), m_buffer(std::move(other.m_buffer)),
      m_unread(std::exchange(other.m_unread, {})), m_line(std::move(other.m_line)), m_reaper(other.m_reaper)
{}

HelperProcess::~HelperProcess()
{
    if (m_pid > 0) // otherwise moved from: another value owns the child
        m_reaper->adopt(m_pid);
}

bool HelperProcess::isRunning() const
{
#ifdef __linux__
    epoll_event exit{};
    if (m_exit.isWatched)
        return epoll_wait(m_exit.events.get(), &exit, 1, 0) == 0;
#endif
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(m_pid), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == 0;
}

std::error_code HelperProcess::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_input.get(), bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        const int failure = errno;
        if (failure == EINTR)
            continue;
        return errorOf(failure);
    }
    return {};
}

HelperProcess::Line HelperProcess::readLine()
{
    std::string().swap(m_line); // an assignment would keep the memory of a long line
    std::string_view bytes = std::exchange(m_unread, {});
    while (true) {
        const std::size_t lineFeed = bytes.find('\n');
        if (lineFeed != std::string_view::npos) {
            m_unread = bytes.substr(lineFeed + 1);
            if (m_line.empty())
                return bytes.substr(0, lineFeed);
            m_line.append(bytes.substr(0, lineFeed));
            return m_line;
        }
        m_line.append(bytes);

        const ssize_t count = ::read(m_output.get(), m_buffer->data(), m_buffer->size());
        const int failure = errno;
        if (count == 0)
            return EndOfFile{};
        if (count < 0 && failure != EINTR)
            return errorOf(failure);
        bytes = {m_buffer->data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }
}

void HelperProcess::terminate() // NOLINT(readability-make-member-function-const): it changes the child
{
    kill(m_pid, SIGTERM); // safe: no other process can have the id of a child that is not reaped
}
