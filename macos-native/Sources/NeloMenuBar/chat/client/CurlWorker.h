#pragma once

#include "chat/client/CurlTransfer.h"

#include <QObject>

#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// A thread that makes transfers, several at once, and keeps their connections for later ones.
class CurlWorker final : public QObject
{
    Q_OBJECT

public:
    using Completion = std::function<void(const ChatTransfer&)>;

    /// Starts the thread. Returns null when there is none to be had, or no descriptor to wake it with.
    static std::unique_ptr<CurlWorker> start(const TransferLimits& limits);
    /// Gives up the transfers under way, which do not complete, and closes the connections.
    ~CurlWorker() override;

    /// Sends a request, as soon as there are few enough transfers with its origin. `completion` is called once, in the
    /// thread that this object lives in, and may end it.
    void send(const ChatRequest& request, const Completion& completion);

signals:
    /// There was nothing to do for as long as connections are kept.
    void rested();
    /// For the object itself.
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
    void tellOfRest();
    std::chrono::milliseconds timeout() const;
    void complete();

    TransferLimits m_limits;
    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> m_multi;
    KeptSockets m_kept; // the thread's own
    std::atomic<bool> m_isToEnd{false};
    std::mutex m_mutex;
    std::deque<Job> m_waiting; // guarded by the mutex; oldest first, and so are these:
    std::deque<Job> m_ended;   // which have not completed

    // The thread's own
    std::vector<Job> m_jobs; // under way
    CurlTransfer::Clock::time_point m_lastWork;
    bool m_hasRested = false;
    CurlTransfer::Clock::time_point m_lastLook;
    std::chrono::system_clock::time_point m_lastWallTime;
    CurlTransfer::Clock::time_point m_awakeSince;

    std::thread m_thread; // last: it uses all of this
};
