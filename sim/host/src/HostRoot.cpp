#include "HostRoot.h"

#include <QDebug>

HostRoot::HostRoot(QObject* parent)
    : CMMemoryRoot(parent)
{}

HostRoot::~HostRoot() = default;

QString HostRoot::attachSettingsFile(std::unique_ptr<SettingsFile> file)
{
    QString message;
    const QHash<CMPath, QVariant> loaded = file->load(&message);
    {
        std::lock_guard<std::mutex> lock(m_persistMutex);
        m_file = std::move(file);
        m_fileValues = loaded;
    }
    for (auto it = loaded.cbegin(); it != loaded.cend(); ++it)
        setValue(it.key(), it.value());
    return message;
}

void HostRoot::setDefault(const CMPath& path, const QVariant& value)
{
    if (getValue(path).isValid())
        return;
    setUnsaved(path, value);
}

void HostRoot::setTransient(const CMPath& path, const QVariant& value)
{
    setUnsaved(path, value);
}

void HostRoot::setUnsaved(const CMPath& path, const QVariant& value)
{
    {
        std::lock_guard<std::mutex> lock(m_persistMutex);
        m_unsaved.insert(path.withoutParams(), value);
    }
    setValue(path, value);
}

QString HostRoot::saveError() const
{
    std::lock_guard<std::mutex> lock(m_persistMutex);
    return m_saveError;
}

void HostRoot::valueChanged(const CMPath& path, const QVariant&)
{
    if (path.startsWith(SettingsPrefix()))
        persist();
}

QHash<CMPath, QVariant> HostRoot::settingsToSave()
{
    QHash<CMPath, QVariant> settings;
    const QHash<CMPath, QVariant> all = values();
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        if (it.key().startsWith(SettingsPrefix()))
            settings.insert(it.key(), it.value());
    }
    for (auto it = m_unsaved.begin(); it != m_unsaved.end();) {
        if (settings.value(it.key()) != it.value()) {
            // Somebody set the value since: it is a real setting now.
            it = m_unsaved.erase(it);
            continue;
        }
        if (m_fileValues.contains(it.key()))
            settings.insert(it.key(), m_fileValues.value(it.key()));
        else
            settings.remove(it.key());
        ++it;
    }
    return settings;
}

void HostRoot::persist()
{
    // The snapshot is taken under the persist mutex, so whichever thread writes last writes a
    // snapshot that contains every change made before it: concurrent setters cannot leave an
    // older state in the file.
    std::lock_guard<std::mutex> lock(m_persistMutex);
    if (!m_file)
        return;
    const QHash<CMPath, QVariant> settings = settingsToSave();
    if (settings == m_fileValues)
        return;
    QString error;
    if (!m_file->save(settings, &error)) {
        if (error != m_saveError)
            qWarning().noquote() << "mivo-host: cannot save settings:" << error;
        m_saveError = error;
        return;
    }
    m_saveError.clear();
    m_fileValues = settings;
}
