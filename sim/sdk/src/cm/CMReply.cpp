#include "mivosdk/CMReply.h"

#include <chrono>

using cm_detail::ReplyState;
using cm_detail::ReplyStatus;

bool ReplyState::wanted(const Watcher& watcher, ReplyStatus status)
{
    switch (status) {
    case ReplyStatus::Succeeded:
        return watcher.outcomes & cm_detail::OnSuccess;
    case ReplyStatus::Failed:
        return watcher.outcomes & cm_detail::OnError;
    case ReplyStatus::Cancelled:
        return watcher.outcomes & cm_detail::OnCancel;
    case ReplyStatus::Pending:
        break;
    }
    return false;
}

bool ReplyState::complete(ReplyStatus status, std::any result, CMError error)
{
    std::vector<Watcher> watchers;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_status != ReplyStatus::Pending)
            return false;
        m_status = status;
        m_result = std::move(result);
        m_error = std::move(error);
        watchers.swap(m_watchers);
    }
    m_finished.notify_all();
    // Outside the lock: a continuation may attach further continuations or read the reply.
    for (Watcher& watcher : watchers)
        run(std::move(watcher), status, m_result, m_error);
    return true;
}

void ReplyState::run(Watcher watcher, ReplyStatus status, const std::any& result,
                     const CMError& error)
{
    if (!wanted(watcher, status))
        return;
    cm_detail::deliver(
        watcher.context, watcher.hasContext, watcher.type,
        [fn = std::move(watcher.fn), status, result, error] { fn(status, result, error); });
}

void ReplyState::watch(Watcher watcher)
{
    ReplyStatus status;
    std::any result;
    CMError error;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        status = m_status;
        if (status == ReplyStatus::Pending) {
            m_watchers.push_back(std::move(watcher));
            return;
        }
        result = m_result;
        error = m_error;
    }
    run(std::move(watcher), status, result, error);
}

bool ReplyState::wait(int timeoutMs) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto finished = [this] {
        return m_status != ReplyStatus::Pending;
    };
    if (timeoutMs < 0) {
        m_finished.wait(lock, finished);
        return true;
    }
    return m_finished.wait_for(lock, std::chrono::milliseconds(timeoutMs), finished);
}

ReplyStatus ReplyState::status() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_status;
}

std::any ReplyState::result() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_result;
}

CMError ReplyState::error() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_error;
}

CMVoidReply::CMVoidReply()
    : m_state(std::make_shared<ReplyState>())
{}

bool CMVoidReply::setResult() const
{
    return m_state && m_state->complete(ReplyStatus::Succeeded, std::any(), CMError());
}

bool CMVoidReply::setError(const CMError& error) const
{
    return m_state && m_state->complete(ReplyStatus::Failed, std::any(), error);
}

bool CMVoidReply::cancel() const
{
    return m_state && m_state->complete(ReplyStatus::Cancelled, std::any(), CMError());
}

bool CMVoidReply::waitForFinished(int timeoutMs) const
{
    return !m_state || m_state->wait(timeoutMs);
}

std::shared_ptr<ReplyState> CMVoidReply::finished(ReplyStatus status, const std::any& result,
                                                  const CMError& error)
{
    auto state = std::make_shared<ReplyState>();
    state->complete(status, result, error);
    return state;
}

void CMVoidReply::watch(QObject* context, Qt::ConnectionType type, unsigned outcomes,
                        WatchFn fn) const
{
    if (!m_state)
        return;
    ReplyState::Watcher watcher;
    watcher.context = context;
    watcher.hasContext = context != nullptr;
    watcher.type = type;
    watcher.outcomes = outcomes;
    watcher.fn = std::move(fn);
    m_state->watch(std::move(watcher));
}
