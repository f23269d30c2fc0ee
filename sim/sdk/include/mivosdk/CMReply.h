#pragma once
// Thread contract: safe from any thread. Completion takes the reply's own mutex; continuations run
// on their context object's thread (see cm_detail::deliver).

#include "mivosdk/CMDelivery.h"
#include "mivosdk/CMError.h"

#include <any>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <type_traits>
#include <vector>

namespace cm_detail {

enum class ReplyStatus
{
    Pending,
    Succeeded, ///< setResult
    Failed,    ///< setError
    Cancelled, ///< cancel
};

/// Which outcomes a continuation wants to hear of.
enum ReplyOutcome : unsigned
{
    OnSuccess = 1u,
    OnError = 2u,
    OnCancel = 4u,
    OnAny = OnSuccess | OnError | OnCancel,
};

/// The shared state of one reply. The mutex guards status, result, error and watchers; the
/// condition variable wakes waitForFinished().
class ReplyState
{
public:
    struct Watcher
    {
        QPointer<QObject> context;
        bool hasContext = false;
        Qt::ConnectionType type = Qt::AutoConnection;
        unsigned outcomes = OnAny;
        /// Called with the outcome as it was at completion, so that a pending continuation never
        /// keeps the reply alive (no reference cycle through the state).
        std::function<void(ReplyStatus, const std::any&, const CMError&)> fn;
    };

    /// First completion wins: later ones are dropped and answer false.
    bool complete(ReplyStatus status, std::any result, CMError error);
    void watch(Watcher watcher);
    bool wait(int timeoutMs) const;

    ReplyStatus status() const;
    std::any result() const;
    CMError error() const;

private:
    static bool wanted(const Watcher& watcher, ReplyStatus status);
    static void run(Watcher watcher, ReplyStatus status, const std::any& result,
                    const CMError& error);

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_finished;
    ReplyStatus m_status = ReplyStatus::Pending;
    std::any m_result;
    CMError m_error;
    std::vector<Watcher> m_watchers;
};

} // namespace cm_detail

/// An asynchronous answer without a value (or one whose value the holder does not read).
/// Copies share one reply. The first of setResult, setError and cancel completes it; later
/// completions are ignored. A default-constructed CMVoidReply is a fresh pending reply; the
/// null reply (CMVoidReply(nullptr)) accepts every call and does nothing.
///
/// Continuations: onSuccess runs only on success, onError only on an error, onFinished on any
/// completion (also cancel). With a context object they run on its thread (at once when attached
/// on that thread to a finished reply, with Qt::AutoConnection) and never after it is destroyed;
/// without one they run on the completing thread.
class CMVoidReply
{
public:
    CMVoidReply();
    CMVoidReply(std::nullptr_t) {}

    bool isNull() const { return !m_state; }
    bool isFinished() const { return status() != cm_detail::ReplyStatus::Pending; }
    bool isSucceeded() const { return status() == cm_detail::ReplyStatus::Succeeded; }
    bool isError() const { return status() == cm_detail::ReplyStatus::Failed; }
    bool isCancelled() const { return status() == cm_detail::ReplyStatus::Cancelled; }
    CMError error() const { return m_state ? m_state->error() : CMError(); }

    /// Completes successfully with an empty value.
    bool setResult() const;
    bool setError(const CMError& error) const;
    bool cancel() const;

    /// Blocks until the reply is finished, or for at most timeoutMs (negative: no limit). Answers
    /// whether it is finished. Never call it on the thread that has to complete the reply.
    bool waitForFinished(int timeoutMs = -1) const;

    template <class F>
    const CMVoidReply& onSuccess(QObject* context, F&& fn,
                                 Qt::ConnectionType type = Qt::AutoConnection) const
    {
        watch(context, type, cm_detail::OnSuccess,
              [fn = std::forward<F>(fn)](cm_detail::ReplyStatus, const std::any&, const CMError&) {
                  fn();
              });
        return *this;
    }
    /// fn(const CMError&).
    template <class F>
    const CMVoidReply& onError(QObject* context, F&& fn,
                               Qt::ConnectionType type = Qt::AutoConnection) const
    {
        watch(context, type, cm_detail::OnError,
              [fn = std::forward<F>(fn)](cm_detail::ReplyStatus, const std::any&,
                                         const CMError& error) { fn(error); });
        return *this;
    }
    /// fn() or fn(const CMVoidReply&) (a finished reply with the same outcome).
    template <class F>
    const CMVoidReply& onFinished(QObject* context, F&& fn,
                                  Qt::ConnectionType type = Qt::AutoConnection) const
    {
        watch(context, type, cm_detail::OnAny,
              [fn = std::forward<F>(fn)](cm_detail::ReplyStatus status, const std::any& result,
                                         const CMError& error) {
                  if constexpr (std::is_invocable_v<F, const CMVoidReply&>)
                      fn(CMVoidReply(finished(status, result, error)));
                  else
                      fn();
              });
        return *this;
    }

    bool operator==(const CMVoidReply& other) const { return m_state == other.m_state; }

protected:
    using WatchFn = std::function<void(cm_detail::ReplyStatus, const std::any&, const CMError&)>;

    explicit CMVoidReply(std::shared_ptr<cm_detail::ReplyState> state)
        : m_state(std::move(state))
    {}
    /// A new, already finished state with the given outcome.
    static std::shared_ptr<cm_detail::ReplyState>
    finished(cm_detail::ReplyStatus status, const std::any& result, const CMError& error);
    cm_detail::ReplyStatus status() const
    {
        return m_state ? m_state->status() : cm_detail::ReplyStatus::Pending;
    }
    void watch(QObject* context, Qt::ConnectionType type, unsigned outcomes, WatchFn fn) const;

    std::shared_ptr<cm_detail::ReplyState> m_state;
};

/// An asynchronous answer carrying a T. It is a CMVoidReply too, so a holder that only needs to
/// complete or cancel it can take it as one; a value set through that view is a default T.
template <class T>
class CMReply : public CMVoidReply
{
public:
    CMReply() = default;
    CMReply(std::nullptr_t)
        : CMVoidReply(nullptr)
    {}

    using CMVoidReply::setResult;
    bool setResult(const T& value) const
    {
        return m_state &&
               m_state->complete(cm_detail::ReplyStatus::Succeeded, std::any(value), CMError());
    }

    /// The value once succeeded; a default T before that or after an error.
    T result() const
    {
        if (!m_state)
            return T();
        return valueOf(m_state->result());
    }

    /// fn(const T&) or fn().
    template <class F>
    const CMReply& onSuccess(QObject* context, F&& fn,
                             Qt::ConnectionType type = Qt::AutoConnection) const
    {
        watch(context, type, cm_detail::OnSuccess,
              [fn = std::forward<F>(fn)](cm_detail::ReplyStatus, const std::any& result,
                                         const CMError&) {
                  if constexpr (std::is_invocable_v<F, const T&>)
                      fn(valueOf(result));
                  else
                      fn();
              });
        return *this;
    }
    /// fn(const CMError&).
    template <class F>
    const CMReply& onError(QObject* context, F&& fn,
                           Qt::ConnectionType type = Qt::AutoConnection) const
    {
        CMVoidReply::onError(context, std::forward<F>(fn), type);
        return *this;
    }
    /// fn() or fn(const CMReply<T>&) (a finished reply with the same outcome).
    template <class F>
    const CMReply& onFinished(QObject* context, F&& fn,
                              Qt::ConnectionType type = Qt::AutoConnection) const
    {
        watch(context, type, cm_detail::OnAny,
              [fn = std::forward<F>(fn)](cm_detail::ReplyStatus status, const std::any& result,
                                         const CMError& error) {
                  if constexpr (std::is_invocable_v<F, const CMReply&>)
                      fn(CMReply(finished(status, result, error)));
                  else
                      fn();
              });
        return *this;
    }

private:
    explicit CMReply(std::shared_ptr<cm_detail::ReplyState> state)
        : CMVoidReply(std::move(state))
    {}
    static T valueOf(const std::any& stored)
    {
        if (const T* value = std::any_cast<T>(&stored))
            return *value;
        return T();
    }
};

Q_DECLARE_METATYPE(CMVoidReply)
