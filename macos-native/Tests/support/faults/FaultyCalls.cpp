#include "support/faults/FaultyCalls.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

enum Kind { Open, Unnamed, Write, Send, Sync, Rename, Link, Socket, Connect, Pipe, Spawn, Thread, Map, KindCount };

constexpr std::array<std::string_view, KindCount> kindNames{"open",   "unnamed", "write",  "send",    "sync",
                                                            "rename", "link",    "socket", "connect", "pipe",
                                                            "spawn",  "thread",  "map"};

/// The fault that calls of one kind have. Every thread looks at it, and none may wait: a lock could be held by one that
/// was forked.
struct Plan
{
    std::atomic<bool> isArmed{false};
    std::atomic<int> first{0};
    std::atomic<int> last{0};
    std::atomic<int> outcome{0};
    std::atomic<int> count{0};
    std::atomic<int> errorOfNext{0};
};
constinit std::array<Plan, KindCount> plans;

Plan& planOf(const char* kind)
{
    const auto* const name = std::find(kindNames.begin(), kindNames.end(), kind);
    if (name == kindNames.end())
        std::abort();
    return plans[static_cast<std::size_t>(name - kindNames.begin())];
}

void arm(Plan& plan, int first, int last, int outcome)
{
    plan.isArmed = false; // while the rest changes
    plan.first = first;
    plan.last = last;
    plan.outcome = outcome;
    plan.count = 0;
    plan.errorOfNext = 0;
    plan.isArmed = true;
}

/// The function of this name that would be called if we were not here.
template <typename Function> Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void tellThatItStruck()
{
    static const auto realOpen = next<int(const char*, int, ...)>("open");
    if (const char* path = std::getenv("NELO_FAULT_STRUCK"))
        close(realOpen(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

/// Counts a call; what is to become of it if it is one of those.
std::optional<int> outcomeOf(Kind kind)
{
    Plan& plan = plans[kind];
    if (!plan.isArmed)
        return std::nullopt;
    const int number = ++plan.count;
    if (number < plan.first || number > plan.last)
        return std::nullopt;
    tellThatItStruck();
    if (plan.outcome == NELO_FAULT_KILL)
        kill(getpid(), SIGKILL);
    return plan.outcome.load();
}

/// Counts a call; whether it is to fail, with errno set.
bool fails(Kind kind)
{
    const std::optional<int> outcome = outcomeOf(kind);
    if (outcome)
        errno = *outcome;
    return outcome.has_value();
}

bool makesUnnamedFile(int flags)
{
    return (flags & O_TMPFILE) == O_TMPFILE; // of several bits, one of which means a folder
}

/// Counts a call that opens a file; whether it is to fail, with errno set.
bool failsToOpen(int flags)
{
    return fails(Open) || (makesUnnamedFile(flags) && fails(Unnamed));
}

bool isOfNetwork(int socket)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    return getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0 && address.ss_family != AF_UNIX;
}

/// The kind of a write to the descriptor, if it moves data. The others wake a thread, as a pair of local sockets does,
/// and a lost wake-up is nobody's to mend.
std::optional<Kind> kindOfWrite(int descriptor)
{
    struct stat status
    {};
    const int errorBefore = errno;
    const bool isKnown = fstat(descriptor, &status) == 0;
    const bool wakes =
        !isKnown || (status.st_mode & S_IFMT) == 0 || (S_ISSOCK(status.st_mode) && !isOfNetwork(descriptor));
    errno = errorBefore;
    if (wakes)
        return std::nullopt;
    return S_ISSOCK(status.st_mode) ? Send : Write;
}

/// Counts a write of `size` bytes: how many of them go out; none at all when it fails, with errno set.
std::optional<std::size_t> portionOf(int descriptor, std::size_t size)
{
    if (!plans[Write].isArmed && !plans[Send].isArmed)
        return size;
    const std::optional<Kind> kind = kindOfWrite(descriptor);
    if (!kind)
        return size;
    if (const int error = plans[*kind].errorOfNext.exchange(0)) {
        errno = error;
        return std::nullopt;
    }
    const std::optional<int> outcome = outcomeOf(*kind);
    if (!outcome)
        return size;
    if (*outcome > 0) {
        errno = *outcome;
        return std::nullopt;
    }
    plans[*kind].errorOfNext = -*outcome;
    return size - size / 2; // of one byte there is no half
}

/// Returns the prefix of several buffers as one that is easy to shorten. Only the first is taken when all are too many.
struct iovec shortened(const struct iovec* parts, std::size_t portion)
{
    return {parts->iov_base, std::min(parts->iov_len, portion)};
}

std::size_t sizeOf(const struct iovec* parts, std::size_t count)
{
    std::size_t size = 0;
    for (std::size_t part = 0; part < count; ++part)
        size += parts[part].iov_len;
    return size;
}

mode_t modeIn(va_list arguments, int flags)
{
    return (flags & O_CREAT) != 0 || makesUnnamedFile(flags) ? va_arg(arguments, mode_t) : 0;
}

/// Arms what the environment says, if it means this program.
__attribute__((constructor)) void armFromEnvironment()
{
    std::array<char, 64> program{};
    std::array<char, 16> kind{};
    int number = 0;
    int outcome = 0;
    const char* const text = std::getenv("NELO_FAULT");
    if (text == nullptr
        || std::sscanf(text, "%63[^:]:%15[^:]:%d:%d", program.data(), kind.data(), &number, &outcome) != 4)
        return;
    if (std::strcmp(program.data(), program_invocation_short_name) == 0)
        nelo_faults_arm(kind.data(), number, outcome);
}

} // namespace

#define REAL(name) static const auto real = next<decltype(name)>(#name)

/// Defines the function `name` that fails with `failure`, or calls the real one.
#define FAILING(kind, failure, Result, name, parameters, specifier, arguments)                                         \
    Result name parameters specifier                                                                                   \
    {                                                                                                                  \
        REAL(name);                                                                                                    \
        return fails(kind) ? (failure) : real arguments;                                                               \
    }

/// Defines the function `name` that opens a file with `flags`, and reads the mode behind them where there is one.
#define OPENING(name, parameters, ...)                                                                                 \
    int name parameters                                                                                                \
    {                                                                                                                  \
        REAL(name);                                                                                                    \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = modeIn(arguments, flags);                                                                  \
        va_end(arguments);                                                                                             \
        return failsToOpen(flags) ? -1 : real(__VA_ARGS__, flags, mode);                                               \
    }

/// Defines the function `name` that writes `size` bytes, or only a `portion` of them.
#define WRITING(name, parameters, ...)                                                                                 \
    ssize_t name parameters                                                                                            \
    {                                                                                                                  \
        REAL(name);                                                                                                    \
        const std::optional<std::size_t> portion = portionOf(descriptor, size);                                        \
        return portion ? real(__VA_ARGS__) : -1;                                                                       \
    }

extern "C" {

void nelo_faults_arm(const char* kind, int number, int outcome)
{
    arm(planOf(kind), number, number, outcome);
}

void nelo_faults_arm_from(const char* kind, int number, int outcome)
{
    arm(planOf(kind), number, std::numeric_limits<int>::max(), outcome);
}

int nelo_faults_disarm(const char* kind)
{
    Plan& plan = planOf(kind);
    plan.isArmed = false;
    return plan.count;
}

OPENING(open, (const char* path, int flags, ...), path)
OPENING(open64, (const char* path, int flags, ...), path)
OPENING(openat, (int folder, const char* path, int flags, ...), folder, path)
OPENING(openat64, (int folder, const char* path, int flags, ...), folder, path)

WRITING(write, (int descriptor, const void* bytes, size_t size), descriptor, bytes, *portion)
WRITING(pwrite64, (int descriptor, const void* bytes, size_t size, off64_t offset), descriptor, bytes, *portion, offset)
WRITING(send, (int descriptor, const void* bytes, size_t size, int flags), descriptor, bytes, *portion, flags)
WRITING(sendto,
        (int descriptor, const void* bytes, size_t size, int flags, const struct sockaddr* address, socklen_t length),
        descriptor, bytes, *portion, flags, address, length)

ssize_t writev(int descriptor, const struct iovec* parts, int count)
{
    REAL(writev);
    const std::size_t size = sizeOf(parts, static_cast<std::size_t>(count));
    const std::optional<std::size_t> portion = portionOf(descriptor, size);
    if (!portion)
        return -1;
    const struct iovec prefix = shortened(parts, *portion);
    return *portion == size ? real(descriptor, parts, count) : real(descriptor, &prefix, 1);
}

ssize_t sendmsg(int descriptor, const struct msghdr* message, int flags)
{
    REAL(sendmsg);
    const std::size_t size = sizeOf(message->msg_iov, message->msg_iovlen);
    const std::optional<std::size_t> portion = portionOf(descriptor, size);
    if (!portion)
        return -1;
    struct iovec prefix = shortened(message->msg_iov, *portion);
    struct msghdr shorter = *message;
    shorter.msg_iov = &prefix;
    shorter.msg_iovlen = 1;
    return real(descriptor, *portion == size ? message : &shorter, flags);
}

FAILING(Sync, -1, int, fsync, (int descriptor), , (descriptor))
FAILING(Sync, -1, int, fdatasync, (int descriptor), , (descriptor))
FAILING(Sync, -1, int, syncfs, (int descriptor), noexcept, (descriptor))
FAILING(Rename, -1, int, rename, (const char* from, const char* to), noexcept, (from, to))
FAILING(Rename, -1, int, renameat, (int fromFolder, const char* from, int toFolder, const char* to), noexcept,
        (fromFolder, from, toFolder, to))
FAILING(Rename, -1, int, renameat2,
        (int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags), noexcept,
        (fromFolder, from, toFolder, to, flags))
FAILING(Link, -1, int, link, (const char* from, const char* to), noexcept, (from, to))
FAILING(Link, -1, int, linkat, (int fromFolder, const char* from, int toFolder, const char* to, int flags), noexcept,
        (fromFolder, from, toFolder, to, flags))
FAILING(Socket, -1, int, socket, (int domain, int type, int protocol), noexcept, (domain, type, protocol))
FAILING(Connect, -1, int, connect, (int descriptor, const struct sockaddr* address, socklen_t length), ,
        (descriptor, address, length))
FAILING(Pipe, -1, int, pipe, (int* ends), noexcept, (ends))
FAILING(Pipe, -1, int, pipe2, (int* ends, int flags), noexcept, (ends, flags))
FAILING(Spawn, errno, int, posix_spawn,
        (pid_t * pid, const char* path, const posix_spawn_file_actions_t* actions, const posix_spawnattr_t* attributes,
         char* const* words, char* const* environment),
        , (pid, path, actions, attributes, words, environment))
FAILING(Spawn, errno, int, posix_spawnp,
        (pid_t * pid, const char* file, const posix_spawn_file_actions_t* actions, const posix_spawnattr_t* attributes,
         char* const* words, char* const* environment),
        , (pid, file, actions, attributes, words, environment))
FAILING(Spawn, -1, pid_t, fork, (), noexcept, ())
FAILING(Thread, errno, int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument), noexcept,
        (thread, attributes, run, argument))
FAILING(Map, MAP_FAILED, void*, mmap,
        (void* address, size_t length, int protection, int flags, int descriptor, off_t offset), noexcept,
        (address, length, protection, flags, descriptor, offset))
FAILING(Map, MAP_FAILED, void*, mmap64,
        (void* address, size_t length, int protection, int flags, int descriptor, off64_t offset), noexcept,
        (address, length, protection, flags, descriptor, offset))
}
