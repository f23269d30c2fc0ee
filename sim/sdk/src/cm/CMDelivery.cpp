#include "mivosdk/CMDelivery.h"

#include <QThread>
#include <memory>

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
// ThreadSanitizer's dynamic annotations; its runtime exports them, no header declares them.
extern "C" void AnnotateIgnoreWritesBegin(const char* file, int line);
extern "C" void AnnotateIgnoreWritesEnd(const char* file, int line);
#endif

namespace {

using Parcel = std::function<void()>;

// Qt's event queue orders everything the posting thread wrote before the post before what the
// receiving thread runs for it, but Debian's Qt is not instrumented, so ThreadSanitizer cannot
// see that. In its builds these tell it, for one parcel at a time; elsewhere they are nothing.

#if defined(__SANITIZE_THREAD__)
void released(const Parcel* parcel)
{
    __tsan_release(const_cast<Parcel*>(parcel));
}
void acquired(const Parcel* parcel)
{
    __tsan_acquire(const_cast<Parcel*>(parcel));
}
#else
void released(const Parcel*) {}
void acquired(const Parcel*) {}
#endif

/// Qt moves the queued functor (the parcel's pointer) into its own slot object inside
/// invokeMethod, after the release, and may destroy that slot object there too once the receiver
/// has run it and emptied it; while this lives neither is recorded. (A suppression of those frames
/// would depend on ThreadSanitizer still holding the posting thread's history when it reports,
/// which a busy thread overwrites.)
class UnrecordedCopy
{
public:
#if defined(__SANITIZE_THREAD__)
    UnrecordedCopy()
    {
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~UnrecordedCopy()
    {
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    }
#else
    UnrecordedCopy() = default;
#endif
    UnrecordedCopy(const UnrecordedCopy&) = delete;
    UnrecordedCopy& operator=(const UnrecordedCopy&) = delete;
};

} // namespace

void cm_detail::deliver(const QPointer<QObject>& context, bool hasContext, Qt::ConnectionType type,
                        std::function<void()> fn)
{
    if (!hasContext) {
        fn();
        return;
    }
    QObject* receiver = context.data();
    if (!receiver)
        return;
    const bool sameThread = receiver->thread() == QThread::currentThread();
    if (type == Qt::DirectConnection || (type == Qt::AutoConnection && sameThread)) {
        fn();
        return;
    }
    auto parcel = std::make_unique<Parcel>(std::move(fn));
    released(parcel.get());
    [[maybe_unused]] UnrecordedCopy unrecorded;
    // Qt drops the queued call together with the receiver if it is destroyed first.
    QMetaObject::invokeMethod(
        receiver,
        [parcel = std::move(parcel)]() mutable {
            acquired(parcel.get());
            // Qt may destroy this functor on the posting thread, after a reference count that
            // ThreadSanitizer cannot see; so the call and all it holds are taken out here and end
            // on this thread, and only an empty functor is left to Qt.
            const std::unique_ptr<Parcel> call = std::move(parcel);
            if (*call)
                (*call)();
        },
        Qt::QueuedConnection);
}
