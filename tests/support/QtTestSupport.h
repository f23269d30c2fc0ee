#pragma once
// Thread contract: call from the test's main thread (the QCoreApplication's thread).

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <functional>

namespace testsupport {

/// Processes events until `done` answers true or `timeoutMs` passed; answers `done()`.
inline bool waitUntil(const std::function<bool()>& done, int timeoutMs = 5000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        // processEvents() leaves deleteLater() calls made outside any event loop pending; a real
        // event loop would run them, so do the same.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QThread::msleep(1);
    }
    return true;
}

/// Processes the events already queued (and those they queue) for about `ms` milliseconds.
inline void pump(int ms = 20)
{
    waitUntil([] { return false; }, ms);
}

} // namespace testsupport

#include <QString>
#include <ostream>

/// Lets GoogleTest print QStrings as text in failure messages.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
