#pragma once
// Thread contract: lives on the thread that creates it; its signals are emitted there, whatever
// thread changed the host value.

#include "mivosdk/CMPath.h"
#include "mivosdk/MivoValue.h"

#include <QObject>

/// Watches one host value of CMRoot() (a setting or a state value) and emits changed() when it
/// changes. Values are MivoValues stored as hashes; a path that holds nothing reads as an invalid
/// MivoValue.
class CMValueItem : public QObject
{
    Q_OBJECT
public:
    explicit CMValueItem(const CMPath& path, QObject* parent = nullptr);
    ~CMValueItem() override;

    CMPath path() const { return m_path; }
    /// The current value, read from the root.
    MivoValue value() const;

signals:
    void changed(MivoValue value);
    void changed(MivoValue value, MivoValue oldValue);

private:
    const CMPath m_path;
    int m_watchId = 0;
};
