#pragma once
// Thread contract: construct and call startAndWait() from one thread; the object is built on the
// new thread, which then runs its event loop for the rest of the process.

#include <mivosdk/MivoThreadName.h>

#include <QThread>
#include <condition_variable>
#include <functional>
#include <mutex>

/// A thread that builds one object of type T on itself (so that the object's thread affinity is
/// this thread), names itself, and then runs an event loop. The thread object deletes itself when
/// its loop ends; it never deletes the object it built.
///
/// The hand-over of the built object uses std::mutex and std::condition_variable rather than Qt's
/// primitives so that ThreadSanitizer can see it.
template <class T, class... Args>
class NewQThread : public QThread
{
public:
    NewQThread(const QString& name, Args... args)
        : m_construct([this, name, args...]() mutable {
            mivoSetThreadName(name);
            m_object = new T(args...);
        })
    {
        QObject::connect(this, &QThread::finished, this, &QObject::deleteLater);
    }

    /// Starts the thread (inherited priority) and blocks, without a time limit, until the object
    /// exists; answers it.
    T* startAndWait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        start();
        m_built.wait(lock, [this] { return m_object != nullptr; });
        return m_object;
    }

protected:
    void run() override
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_construct();
        }
        m_built.notify_all();
        exec();
    }

private:
    std::mutex m_mutex; ///< guards m_object
    std::condition_variable m_built;
    std::function<void()> m_construct;
    T* m_object = nullptr;
};
