#pragma once
// Thread contract: lives on the worker thread; rowsChanged() and changed() are called there. The
// host connects to changed() (queued, if it listens from another thread).

#include "mivosdk/CMPath.h"

#include <QObject>

/// The channel through which a worker tells the host that rows changed under a path. One per
/// node registry (CMNodes::subscribe()).
class CMSubscribe : public QObject
{
    Q_OBJECT
public:
    explicit CMSubscribe(QObject* parent = nullptr);

    /// The whole list changed: read it again.
    static QString RowsChangeReset();
    /// The list is gone: close it (and everything below it).
    static QString RowsChangeClose();
    static QString RowsChangeInsert();
    static QString RowsChangeUpdate();

    /// Announces a change of the rows at `path`; `count` is the number of rows concerned, -1 when
    /// not known.
    void rowsChanged(const CMPath& path, const QString& change, int count = -1);

signals:
    /// Every change notice; the host listens here.
    void changed(const CMPath& path, const QString& change, int count);
};
