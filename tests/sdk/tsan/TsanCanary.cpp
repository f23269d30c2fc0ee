// A deliberate data race in code that a reply continuation runs, the way module code runs: the
// continuation, delivered on another thread through the SDK's queued delivery, writes a counter
// that the main thread writes too, without any lock. ThreadSanitizer must report it.

#include <mivosdk/CMReply.h>

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

namespace {

int g_counter = 0; // deliberately unguarded

__attribute__((noinline)) void bumpFromContinuation()
{
    ++g_counter;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QThread thread;
    QObject context;
    context.moveToThread(&thread);
    thread.start();

    CMReply<int> reply;
    reply.onSuccess(&context, [](int) { bumpFromContinuation(); });
    reply.setResult(1);
    ++g_counter; // races with the continuation
    QThread::msleep(200);

    thread.quit();
    thread.wait();
    return g_counter > 0 ? 0 : 1;
}
