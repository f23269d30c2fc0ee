#pragma once
// Thread contract: main thread only; the signal handler only writes to a pipe.

#include <QObject>

class QSocketNotifier;

/// Turns SIGINT and SIGTERM into the interrupted() signal on the main thread (through a pipe
/// that the handler writes to), so that a playing command can stop its playback cleanly.
class InterruptWatcher : public QObject
{
    Q_OBJECT
public:
    explicit InterruptWatcher(QObject* parent = nullptr);
    ~InterruptWatcher() override;

signals:
    void interrupted();

private:
    void drain();

    QSocketNotifier* m_notifier = nullptr;
};
