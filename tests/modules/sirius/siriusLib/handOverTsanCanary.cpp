// Deliberate data races in the places that the bridge's hand-over reaches: a receiver of one of
// its signals on another thread, one on the emitting thread itself (run inside the emission, whose
// own accesses ThreadSanitizer is told not to record), and a function queued to the library
// thread. Each writes a counter that another thread writes after the post, without any lock. The
// hand-over orders only what was written before the post, so all three must be reported.

#include "siriusLib/siriusLib.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <atomic>

namespace {

// Each on a line of its own: ThreadSanitizer keeps the last few accesses per 8 bytes, and the
// busy polling of a neighbour in the same bytes could push the racing write out before the
// other thread's access is checked against it (the race then goes unreported on a loaded machine).
alignas(64) int g_signalled = 0; // deliberately unguarded
alignas(64) int g_called = 0;    // deliberately unguarded
alignas(64) int g_direct = 0;    // deliberately unguarded

// Progress flags, relaxed so that they order nothing that ThreadSanitizer would count.
alignas(64) std::atomic<bool> g_signalReceived{false};
alignas(64) std::atomic<bool> g_callRan{false};
alignas(64) std::atomic<bool> g_directReceived{false};

__attribute__((noinline)) void bumpInSignalReceiver()
{
    ++g_signalled;
    g_signalReceived.store(true, std::memory_order_relaxed);
}

__attribute__((noinline)) void bumpInDirectReceiver()
{
    ++g_direct;
    g_directReceived.store(true, std::memory_order_relaxed);
}

__attribute__((noinline)) void bumpInQueuedCall()
{
    ++g_called;
    g_callRan.store(true, std::memory_order_relaxed);
}

/// Processes events until `flag` is set; a loaded machine may take a while to get there.
bool processEventsUntil(const std::atomic<bool>& flag)
{
    QDeadlineTimer deadline(30000);
    while (!flag.load(std::memory_order_relaxed) && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return flag.load(std::memory_order_relaxed);
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
    bool ran = processEventsUntil(g_signalReceived);

    lib->async([] { bumpInQueuedCall(); });
    ++g_called; // after the post: races with the queued call
    ran = processEventsUntil(g_callRan) && ran;

    QObject onLibraryThread;
    onLibraryThread.moveToThread(lib->thread());
    lib->subscribe(&SiriusLib::onChannelBusy, &onLibraryThread,
                   [](bool) { bumpInDirectReceiver(); });
    lib->async([lib] { SiriusLib::on_channelBusy_callback(lib, 0); });
    ++g_direct; // after the post: races with the receiver that the emission calls directly
    ran = processEventsUntil(g_directReceived) && ran;
    return ran ? 0 : 1;
}
