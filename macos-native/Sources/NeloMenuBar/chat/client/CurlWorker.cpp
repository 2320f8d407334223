#include "chat/client/CurlWorker.h"

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr int maxTransfers = 6; // at the same time with one origin

/// Blocks all signals in this thread, so that the main thread gets them. A write to a closed connection is then an
/// error and no SIGPIPE.
void blockUnixSignals()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

bool isLibraryReady()
{
    static const bool isReady = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return isReady;
}

} // namespace

std::unique_ptr<CurlWorker> CurlWorker::start(const TransferLimits& limits)
{
    if (!isLibraryReady())
        return nullptr;
    std::unique_ptr<CurlWorker> worker(new CurlWorker(limits));
    if (!worker->m_multi || curl_multi_wakeup(worker->m_multi.get()) != CURLM_OK)
        return nullptr;
    try {
        worker->m_thread = std::thread([self = worker.get()] { self->run(); });
    } catch (const std::system_error&) {
        return nullptr;
    }
    return worker;
}

CurlWorker::CurlWorker(TransferLimits limits)
    : m_limits(std::move(limits)), m_multi(curl_multi_init(), curl_multi_cleanup),
      m_lastWork(CurlTransfer::Clock::now()), m_lastTime(m_lastWork), m_lastWallTime(m_limits.wallClock())
{
    connect(this, &CurlWorker::ended, this, &CurlWorker::complete, Qt::QueuedConnection);
}

CurlWorker::~CurlWorker()
{
    m_shouldEnd = true;
    if (m_thread.joinable()) {
        curl_multi_wakeup(m_multi.get());
        m_thread.join();
    }
    for (const Job& job : m_jobs)
        curl_multi_remove_handle(m_multi.get(), job.transfer->handle());
}

void CurlWorker::send(const ChatRequest& request, const Completion& completion)
{
    {
        const std::lock_guard lock(m_mutex);
        auto transfer = std::make_unique<CurlTransfer>(request, m_limits, m_kept);
        m_waiting.push_back({std::move(transfer), originOf(request.url), completion});
    }
    curl_multi_wakeup(m_multi.get());
}

void CurlWorker::run()
{
    blockUnixSignals();
    while (!m_shouldEnd) {
        noticeSleep();
        while (std::optional<Job> job = takeWaiting())
            begin(std::move(*job));
        reportIdleness();
        curl_multi_poll(m_multi.get(), nullptr, 0, static_cast<int>(timeout().count()), nullptr);
        int running = 0;
        curl_multi_perform(m_multi.get(), &running);
        endFinishedJobs();
    }
}

/// Removes and returns the oldest waiting job whose origin has fewer than `maxTransfers` under way. libcurl can limit
/// the connections itself, but sometimes it never starts a transfer that waits.
std::optional<CurlWorker::Job> CurlWorker::takeWaiting()
{
    const std::lock_guard lock(m_mutex);
    const auto next = std::find_if(m_waiting.begin(), m_waiting.end(), [this](const Job& waiting) {
        return std::count_if(m_jobs.begin(), m_jobs.end(),
                             [&waiting](const Job& job) { return job.origin == waiting.origin; })
               < maxTransfers;
    });
    if (next == m_waiting.end())
        return std::nullopt;
    std::optional<Job> job = std::move(*next);
    m_waiting.erase(next);
    return job;
}

void CurlWorker::begin(Job job)
{
    using std::chrono::seconds;
    job.transfer->prepare(std::min(std::chrono::ceil<seconds>(m_limits.idleness),
                                   std::chrono::floor<seconds>(m_lastTime - m_awakeSince)));
    m_hasReportedIdleness = false;
    m_jobs.push_back(std::move(job));
    CURL* const handle = m_jobs.back().transfer->handle();
    if (curl_multi_add_handle(m_multi.get(), handle) != CURLM_OK)
        end(handle, CURLE_FAILED_INIT);
}

/// Notices that the machine has slept: then the steady clock, with which libcurl measures how long connections are
/// idle, stood still, and the wall clock did not.
void CurlWorker::noticeSleep()
{
    const auto now = CurlTransfer::Clock::now();
    const auto wallTime = m_limits.wallClock();
    const auto difference = (wallTime - m_lastWallTime) - (now - m_lastTime);
    if (difference > 1s || difference < -1s)
        m_awakeSince = now;
    m_lastTime = now;
    m_lastWallTime = wallTime;
}

void CurlWorker::endFinishedJobs()
{
    int rest = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &rest)) {
        if (message->msg == CURLMSG_DONE)
            end(message->easy_handle, message->data.result);
    }
}

void CurlWorker::end(CURL* handle, CURLcode code)
{
    const auto found = std::find_if(m_jobs.begin(), m_jobs.end(),
                                    [handle](const Job& job) { return job.transfer->handle() == handle; });
    if (found->transfer->prepareRetry()) {
        curl_multi_remove_handle(m_multi.get(), handle);
        if (curl_multi_add_handle(m_multi.get(), handle) == CURLM_OK)
            return;
    }
    Job job = std::move(*found);
    m_jobs.erase(found);
    job.result = job.transfer->result(code);
    curl_multi_remove_handle(m_multi.get(), handle);
    job.transfer.reset();
    m_lastWork = CurlTransfer::Clock::now();
    {
        const std::lock_guard lock(m_mutex);
        m_ended.push_back(std::move(job));
    }
    emit ended();
}

void CurlWorker::complete()
{
    std::unique_lock lock(m_mutex);
    const Job job = std::move(m_ended.front());
    m_ended.pop_front();
    lock.unlock();
    job.completion(job.result); // the last line: it may delete this object
}

void CurlWorker::reportIdleness()
{
    if (m_hasReportedIdleness || !m_jobs.empty() || CurlTransfer::Clock::now() < m_lastWork + m_limits.idleness)
        return;
    m_hasReportedIdleness = true;
    emit becameIdle();
}

/// Returns how long the thread may wait, unless libcurl or a new job wakes it.
std::chrono::milliseconds CurlWorker::timeout() const
{
    auto until = CurlTransfer::Clock::now() + 1h;
    if (m_jobs.empty() && !m_hasReportedIdleness)
        until = m_lastWork + m_limits.idleness;
    for (const Job& job : m_jobs)
        until = std::min(until, job.transfer->deadline());
    return std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(until - CurlTransfer::Clock::now()));
}
