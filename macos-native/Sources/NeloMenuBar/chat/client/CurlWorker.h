#pragma once

#include "chat/client/CurlTransfer.h"

#include <QObject>

#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// A thread that runs transfers, several at the same time, and keeps their connections for later transfers.
class CurlWorker final : public QObject
{
    Q_OBJECT

public:
    using Completion = std::function<void(const ChatTransfer&)>;

    /// Starts the thread. Returns null when the system has no thread for us, or no descriptor with which to wake it.
    static std::unique_ptr<CurlWorker> start(const TransferLimits& limits);
    /// Cancels the transfers under way, without calling their `completion`, and closes the connections.
    ~CurlWorker() override;

    /// Sends a request. It waits while six transfers with the same origin are under way. `completion` is called once,
    /// in the thread that this object lives in. It may delete this object.
    void send(const ChatRequest& request, const Completion& completion);

signals:
    /// There was no transfer for as long as connections are kept.
    void becameIdle();
    /// A transfer has ended. For this object itself: it takes the result to its own thread.
    void ended();

private:
    struct Job
    {
        std::unique_ptr<CurlTransfer> transfer;
        QString origin;
        Completion completion;
        ChatTransfer result{};
    };

    explicit CurlWorker(TransferLimits limits);
    void run();
    std::optional<Job> takeWaiting();
    void begin(Job job);
    void noticeSleep();
    void endFinishedJobs();
    void end(CURL* handle, CURLcode code);
    void reportIdleness();
    std::chrono::milliseconds timeout() const;
    void complete();

    TransferLimits m_limits;
    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> m_multi;
    std::atomic<bool> m_shouldEnd{false};
    std::mutex m_mutex;        // guards the two queues
    std::deque<Job> m_waiting; // oldest first
    std::deque<Job> m_ended;   // oldest first; their `completion` was not called yet

    // Only the thread uses these.
    KeptSockets m_kept;
    std::vector<Job> m_jobs; // under way
    CurlTransfer::Clock::time_point m_lastWork;
    bool m_hasReportedIdleness = false;
    CurlTransfer::Clock::time_point m_lastTime;           // when both clocks were read last
    std::chrono::system_clock::time_point m_lastWallTime; // what the other clock said then
    CurlTransfer::Clock::time_point m_awakeSince;

    std::thread m_thread; // the last member: it uses all others
};
