#include "platform/http/HttpThread.h"

#include <curl/curl.h>

#include <algorithm>
#include <csignal>
#include <thread>

#include <pthread.h>

namespace kelmo {

namespace {

constexpr std::chrono::milliseconds endPatience{200};

/// A connection that breaks while it is written to must not end the program.
void ignoreBrokenConnections()
{
    sigset_t broken;
    ::sigemptyset(&broken);
    ::sigaddset(&broken, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &broken, nullptr);
}

} // namespace

std::shared_ptr<HttpThread> HttpThread::start(OnOutcome onOutcome)
{
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    Q_UNUSED(initialised);
    const std::shared_ptr<HttpThread> thread(new HttpThread(std::move(onOutcome)));
    std::thread([thread] { thread->run(); }).detach();
    return thread;
}

HttpThread::HttpThread(OnOutcome onOutcome)
    : m_multi(curl_multi_init())
    , m_onOutcome(std::move(onOutcome))
{
}

void HttpThread::add(std::unique_ptr<HttpTransfer> transfer)
{
    const std::lock_guard lock(m_mutex);
    m_orders.push_back(std::move(transfer));
    curl_multi_wakeup(m_multi);
}

void HttpThread::dropAll() { add(nullptr); }

void HttpThread::end()
{
    std::unique_lock lock(m_mutex);
    m_onOutcome = nullptr;
    if (!m_ended)
        curl_multi_wakeup(m_multi);
    m_changed.wait_for(lock, endPatience, [this] { return m_ended; });
}

void HttpThread::run()
{
    ::pthread_setname_np(::pthread_self(), "kelmo.http");
    ignoreBrokenConnections();
    while (takeOrders()) {
        int running = 0;
        curl_multi_perform(m_multi, &running);
        finishEnded();
        finishOverdue();
        curl_multi_poll(m_multi, nullptr, 0, waitMs(), nullptr);
    }
    while (!m_transfers.empty())
        remove(m_transfers.begin()->first);
    const std::lock_guard lock(m_mutex);
    curl_multi_cleanup(m_multi);
    m_ended = true;
    m_changed.notify_all();
}

/// False when the thread is to end.
bool HttpThread::takeOrders()
{
    std::vector<std::unique_ptr<HttpTransfer>> orders;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_onOutcome)
            return false;
        orders.swap(m_orders);
    }
    for (std::unique_ptr<HttpTransfer>& each : orders) {
        if (each) {
            begin(std::move(each));
            continue;
        }
        while (!m_transfers.empty())
            remove(m_transfers.begin()->first);
    }
    return true;
}

void HttpThread::begin(std::unique_ptr<HttpTransfer> transfer)
{
    transfer->begin();
    CURL* const handle = transfer->handle();
    curl_multi_add_handle(m_multi, handle);
    m_transfers.emplace(handle, std::move(transfer));
}

std::unique_ptr<HttpTransfer> HttpThread::remove(CURL* handle)
{
    curl_multi_remove_handle(m_multi, handle);
    return std::move(m_transfers.extract(handle).mapped());
}

void HttpThread::finishEnded()
{
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        const CURLcode code = message->data.result;
        const std::unique_ptr<HttpTransfer> ended = remove(message->easy_handle);
        report(ended->id(), ended->outcome(code));
    }
}

void HttpThread::finishOverdue()
{
    std::vector<CURL*> overdue;
    for (const auto& [handle, transfer] : m_transfers) {
        if (transfer->deadline() <= HttpTransfer::Clock::now())
            overdue.push_back(handle);
    }
    for (CURL* const handle : overdue)
        report(remove(handle)->id(), HttpTransfer::overdue());
}

void HttpThread::report(quint64 id, Result<HttpAnswer> outcome)
{
    const std::lock_guard lock(m_mutex);
    if (m_onOutcome)
        m_onOutcome(id, std::move(outcome));
}

/// Until the first deadline; libcurl's own timers end the wait before.
int HttpThread::waitMs() const
{
    constexpr std::chrono::milliseconds longest{60'000};
    std::chrono::milliseconds wait = longest;
    for (const auto& [handle, transfer] : m_transfers) {
        const auto left = transfer->deadline() - HttpTransfer::Clock::now();
        wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(left));
    }
    return int(std::max(wait.count(), std::chrono::milliseconds::rep(0)));
}

} // namespace kelmo
