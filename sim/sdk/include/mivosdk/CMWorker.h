#pragma once
// Thread contract: worker thread only.

#include "mivosdk/CMAbstractWorker.h"

#include <QVariantHash>

/// A module's worker: named, with the settings hash the host created it with.
class CMWorker : public CMAbstractWorker
{
    Q_OBJECT
public:
    CMWorker(const QVariantHash& settings, const QString& name, QObject* parent = nullptr);

    QString name() const { return m_name; }
    QVariantHash settings() const { return m_settings; }

protected:
    QString workerName() const override { return m_name; }

private:
    const QVariantHash m_settings;
    const QString m_name;
};
