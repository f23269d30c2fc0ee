// Deliberate data races in the places that the bridge's hand-over reaches: a receiver of one of
// its signals on another thread, one on the emitting thread itself (run inside the emission, whose
// own accesses ThreadSanitizer is told not to record), and a function queued to the library
// thread. Each writes a counter that another thread writes after the post, without any lock. The
// hand-over orders only what was written before the post, so all three must be reported.

#include "siriusLib/siriusLib.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

namespace {

int g_signalled = 0; // deliberately unguarded
int g_called = 0;    // deliberately unguarded
int g_direct = 0;    // deliberately unguarded

__attribute__((noinline)) void bumpInSignalReceiver()
{
    ++g_signalled;
}

__attribute__((noinline)) void bumpInDirectReceiver()
{
    ++g_direct;
}

__attribute__((noinline)) void bumpInQueuedCall()
{
    ++g_called;
}

void processEventsFor(int ms)
{
    QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    SiriusLib* lib = SiriusLib::create(true);

    QObject receiver;
    lib->subscribe(&SiriusLib::onChannelBusy, &receiver, [](bool) { bumpInSignalReceiver(); });
    lib->async([lib] {
        SiriusLib::on_channelBusy_callback(lib, 1);
        ++g_signalled; // after the emission: races with the receiver
    });
    processEventsFor(300);

    lib->async([] { bumpInQueuedCall(); });
    ++g_called; // after the post: races with the queued call
    QThread::msleep(300);

    QObject onLibraryThread;
    onLibraryThread.moveToThread(lib->thread());
    lib->subscribe(&SiriusLib::onChannelBusy, &onLibraryThread,
                   [](bool) { bumpInDirectReceiver(); });
    lib->async([lib] { SiriusLib::on_channelBusy_callback(lib, 0); });
    ++g_direct; // after the post: races with the receiver that the emission calls directly
    QThread::msleep(300);
    return g_signalled > 0 && g_called > 0 && g_direct > 0 ? 0 : 1;
}
