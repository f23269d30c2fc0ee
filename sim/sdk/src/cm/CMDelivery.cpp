#include "mivosdk/CMDelivery.h"

#include <QThread>
#include <memory>
#include <mutex>

namespace {

/// The queued call's payload; the mutex makes the hand-over visible to ThreadSanitizer.
struct Parcel
{
    std::mutex mutex;
    std::function<void()> fn;
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
    auto parcel = std::make_shared<Parcel>();
    {
        std::lock_guard<std::mutex> lock(parcel->mutex);
        parcel->fn = std::move(fn);
    }
    // Qt drops the queued call together with the receiver if it is destroyed first.
    QMetaObject::invokeMethod(
        receiver,
        [parcel] {
            std::function<void()> call;
            {
                std::lock_guard<std::mutex> lock(parcel->mutex);
                call = std::move(parcel->fn);
            }
            if (call)
                call();
        },
        Qt::QueuedConnection);
}
