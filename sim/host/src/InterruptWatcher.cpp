#include "InterruptWatcher.h"

#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int g_pipe[2] = {-1, -1};

extern "C" void onSignal(int)
{
    const char byte = 1;
    // Async-signal-safe; a full pipe already holds a pending interrupt.
    [[maybe_unused]] const ssize_t ignored = ::write(g_pipe[1], &byte, 1);
}

} // namespace

InterruptWatcher::InterruptWatcher(QObject* parent)
    : QObject(parent)
{
    if (::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &InterruptWatcher::drain);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

InterruptWatcher::~InterruptWatcher()
{
    if (g_pipe[0] < 0)
        return;
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    delete m_notifier;
    ::close(g_pipe[0]);
    ::close(g_pipe[1]);
    g_pipe[0] = g_pipe[1] = -1;
}

void InterruptWatcher::drain()
{
    char buffer[16];
    while (::read(g_pipe[0], buffer, sizeof buffer) > 0) {
    }
    emit interrupted();
}
