#pragma once

#include "base/FileDescriptor.h"

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>
#include <vector>

#include <sys/types.h>

class ChildReaper;

/// A child process that answers each line with a line. Its standard input and output are pipes to this program.
///
/// Its standard error is a pipe, too, which nobody reads: diagnostics are lost, and a child that writes more than a
/// pipe can hold blocks. All our descriptors are close-on-exec, so that no other child keeps one open.
///
/// The destructor closes the pipes and leaves the child to the `ChildReaper`. A child that reads its input then ends by
/// itself. One thread at a time.
class HelperProcess final
{
public:
    /// The output ended before a line feed came.
    struct EndOfFile
    {};
    using Launch = std::variant<HelperProcess, std::error_code>;
    using Line = std::variant<std::string_view, EndOfFile, std::error_code>;

    /// Starts the program `command[0]`, a path, with the arguments after it, in the folder `workingDirectory` and with
    /// our environment. `reaper` must outlive the result. Returns the system's error when this fails.
    static Launch launch(const std::vector<std::string>& command, const std::filesystem::path& workingDirectory,
                         ChildReaper& reaper);

    HelperProcess(HelperProcess&& other) noexcept;
    HelperProcess& operator=(HelperProcess&&) = delete;
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;
    ~HelperProcess();

    /// Returns whether the child has not exited yet. Does not reap it.
    bool isRunning() const;
    pid_t processId() const { return m_pid; }

    /// Writes all of `bytes` to the child's input; blocks while the pipe is full. A child that no longer reads is the
    /// error `broken_pipe`, never a signal.
    [[nodiscard]] std::error_code write(std::string_view bytes);

    /// Returns the child's next output line without its line feed, and blocks until the line is complete. Bytes after
    /// the line feed are kept for the next line. The text of a line is there until the next line is read.
    [[nodiscard]] Line readLine();

    /// Sends the child a request to terminate and returns at once.
    void terminate();

private:
    using ReadBuffer = std::array<char, 65'536>; // as much as a pipe holds

    /// Descriptors that tell whether the child has exited, in less than half of the time that a look at the child
    /// itself takes. A system may have none.
    struct ExitWatch
    {
        explicit ExitWatch(pid_t pid);

        FileDescriptor process;
        FileDescriptor events;
        bool isWatched = false;
    };

    HelperProcess(pid_t pid, FileDescriptor input, FileDescriptor output, FileDescriptor errors, ChildReaper& reaper);

    pid_t m_pid;
    ExitWatch m_exit;
    FileDescriptor m_input;
    FileDescriptor m_output;
    FileDescriptor m_errors;              // kept open, so that the child can write, and never read
    std::unique_ptr<ReadBuffer> m_buffer; // the bytes of the last read
    std::string_view m_unread;            // the part of the buffer after the last line feed
    std::string m_line;                   // the last line, if it came in several reads
    ChildReaper* m_reaper;                // not owned
};
