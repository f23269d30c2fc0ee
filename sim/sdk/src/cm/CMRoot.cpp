#include "mivosdk/CMRoot.h"

#include "mivosdk/CMDelivery.h"

#include <atomic>

namespace {

std::atomic<CMAbstractWorker*> g_root{nullptr};

CMAbstractWorker* defaultRoot()
{
    // Never destroyed: modules may still use it from their threads while the process exits.
    static CMMemoryRoot* root = new CMMemoryRoot;
    return root;
}

} // namespace

CMAbstractWorker* CMRoot()
{
    CMAbstractWorker* root = g_root.load(std::memory_order_acquire);
    return root ? root : defaultRoot();
}

void CMSetRoot(CMAbstractWorker* root)
{
    g_root.store(root, std::memory_order_release);
}

CMMemoryRoot::CMMemoryRoot(QObject* parent)
    : CMAbstractWorker(parent)
{}

QVariant CMMemoryRoot::getValue(const CMPath& path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_values.value(path.withoutParams());
}

void CMMemoryRoot::setValue(const CMPath& path, const QVariant& value, CMVoidReply reply)
{
    const CMPath key = path.withoutParams();
    QVariant old;
    QList<Watch> watches;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        old = m_values.value(key);
        if (old == value && (old.isValid() || m_values.contains(key))) {
            reply.setResult();
            return;
        }
        if (value.isValid())
            m_values.insert(key, value);
        else
            m_values.remove(key);
        for (const Watch& watch : qAsConst(m_watches)) {
            if (watch.path == key)
                watches.append(watch);
        }
    }
    valueChanged(key, value);
    for (const Watch& watch : watches) {
        ValueWatcher watcher = watch.watcher;
        cm_detail::deliver(watch.context, watch.hasContext, Qt::AutoConnection,
                           [watcher, value, old] { watcher(value, old); });
    }
    reply.setResult();
}

void CMMemoryRoot::invoke(const CMPath& path, const QVariant& args, CMVoidReply reply)
{
    Command command;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        command = m_commands.value(path.withoutParams());
    }
    if (!command) {
        CMAbstractWorker::invoke(path, args, reply);
        return;
    }
    command(args, reply);
}

int CMMemoryRoot::watchValue(const CMPath& path, QObject* context, ValueWatcher watcher)
{
    Watch watch;
    watch.path = path.withoutParams();
    watch.context = context;
    watch.hasContext = context != nullptr;
    watch.watcher = std::move(watcher);
    std::lock_guard<std::mutex> lock(m_mutex);
    const int id = m_nextWatchId++;
    m_watches.insert(id, watch);
    return id;
}

void CMMemoryRoot::unwatchValue(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_watches.remove(id);
}

void CMMemoryRoot::registerCommand(const CMPath& path, Command command)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_commands.insert(path.withoutParams(), std::move(command));
}

void CMMemoryRoot::unregisterCommand(const CMPath& path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_commands.remove(path.withoutParams());
}

QHash<CMPath, QVariant> CMMemoryRoot::values() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_values;
}

void CMMemoryRoot::valueChanged(const CMPath&, const QVariant&) {}
