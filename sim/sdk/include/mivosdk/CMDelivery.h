#pragma once
// Thread contract: safe from any thread.

#include <QObject>
#include <QPointer>
#include <functional>

namespace cm_detail {

/// Runs `fn` for a continuation or a change notice whose receiver is `context`:
/// - without a context (`hasContext` false) at once on the calling thread;
/// - Qt::DirectConnection, or Qt::AutoConnection when the caller is on the context's thread,
///   at once on the calling thread;
/// - otherwise queued to the context's thread.
/// A context destroyed before the call is never called. In ThreadSanitizer builds the hand-over
/// is annotated, since Qt's own event queue locking is invisible to it.
void deliver(const QPointer<QObject>& context, bool hasContext, Qt::ConnectionType type,
             std::function<void()> fn);

} // namespace cm_detail

/// Runs `fn` on `context`'s thread, queued, unless the context is destroyed first. Use it instead
/// of QMetaObject::invokeMethod for work handed to another thread: everything the caller wrote
/// before the call is visibly ordered before `fn` runs, also for ThreadSanitizer.
inline void cmPost(QObject* context, std::function<void()> fn)
{
    cm_detail::deliver(context, true, Qt::QueuedConnection, std::move(fn));
}
