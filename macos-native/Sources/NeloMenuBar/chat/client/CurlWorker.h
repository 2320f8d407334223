#pragma once

#include "chat/client/CurlTransfer.h"

#include <QObject>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

/// A thread that makes transfers, several at once, and keeps their connections for later ones.
class CurlWorker final
{
public:
    using Completion = std::function<void(const ChatTransfer&)>;

    /// Starts the thread. What it has to tell is called in the thread of `context`, as long as that lives: completions,
    /// and `rested` when there was nothing to do for as long as connections are kept. Null when there is no thread, or
    /// no descriptor to wake it with.
    static std::unique_ptr<CurlWorker> start(QObject* context, const TransferLimits& limits,
                                             std::function<void()> rested);
    CurlWorker(const CurlWorker&) = delete;
    CurlWorker& operator=(const CurlWorker&) = delete;
    /// Gives up the transfers under way, which do not complete, and closes the connections.
    ~CurlWorker();

    /// Sends a request, as soon as there are few enough connections to its origin. `completion` is called once.
    void send(const ChatRequest& request, const Completion& completion);

private:
    struct Job
    {
        std::unique_ptr<CurlTransfer> transfer;
        QString origin;
        Completion completion;
    };

    CurlWorker(QObject* context, TransferLimits limits, std::function<void()> rested);
    void run();
    std::optional<Job> takeWaiting();
    void begin(Job job);
    void noticeSleep();
    void endFinishedJobs();
    void end(CURL* handle, CURLcode code);
    void tellOfRest();
    std::chrono::milliseconds timeout() const;
    void tell(std::function<void()> message) const;

    QObject* m_context;
    TransferLimits m_limits;
    std::function<void()> m_rested;
    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> m_multi;
    std::atomic<bool> m_isToEnd{false};
    std::mutex m_mutex;
    std::vector<Job> m_waiting; // guarded by the mutex; oldest first

    // The thread's own
    std::vector<Job> m_jobs; // under way
    CurlTransfer::Clock::time_point m_lastWork;
    bool m_hasRested = false;
    CurlTransfer::Clock::time_point m_lastLook;
    std::chrono::system_clock::time_point m_lastWallTime;
    CurlTransfer::Clock::time_point m_awakeSince;

    std::thread m_thread; // last: it uses all of this
};
