#pragma once
// Thread contract: an implicitly shared handle; copies may travel between threads (the reply is
// thread-safe, the rest is immutable after construction).

#include "mivosdk/CMPath.h"
#include "mivosdk/CMReply.h"

#include <QVariant>
#include <memory>

/// A request of the host to a worker: read rows, read one role's data, or write a role. Copies
/// share the request and its reply. The reply carries a QVariant: for rows a MivoRowsRoles hash,
/// for data the role's value, for a write whatever the node answers (often nothing).
class CMRequest
{
public:
    enum class Kind
    {
        Invalid,
        GetRows,
        GetData,
        SetData,
    };

    /// An invalid request (kind Invalid); its reply is the null reply.
    CMRequest() = default;

    Kind kind() const { return m_data ? m_data->kind : Kind::Invalid; }
    bool isValid() const { return kind() != Kind::Invalid; }
    CMPath path() const { return m_data ? m_data->path : CMPath(); }
    CMReply<QVariant> reply() const { return m_data ? m_data->reply : CMReply<QVariant>(nullptr); }

    bool operator==(const CMRequest& other) const { return m_data == other.m_data; }

protected:
    struct Data
    {
        Kind kind = Kind::Invalid;
        CMPath path;
        CMReply<QVariant> reply;
        int offset = 0;
        int count = -1;
        QString role;
        QVariant value;
    };

    explicit CMRequest(std::shared_ptr<const Data> data)
        : m_data(std::move(data))
    {}
    /// The same request seen as `kind`, or an invalid one when it is of another kind.
    static std::shared_ptr<const Data> as(const CMRequest& request, Kind kind)
    {
        return request.kind() == kind ? request.m_data : nullptr;
    }

    std::shared_ptr<const Data> m_data;
};

/// Read rows: a page from `offset`, at most `count` rows (-1: all).
class CMGetRowsRequest : public CMRequest
{
public:
    CMGetRowsRequest() = default;
    explicit CMGetRowsRequest(const CMPath& path, int offset = 0, int count = -1);
    /// The request as a get-rows request; invalid when it is another kind.
    explicit CMGetRowsRequest(const CMRequest& request)
        : CMRequest(as(request, Kind::GetRows))
    {}

    int offset() const { return m_data ? m_data->offset : 0; }
    int count() const { return m_data ? m_data->count : -1; }
};

/// Read one role of the node at the path.
class CMGetDataRequest : public CMRequest
{
public:
    CMGetDataRequest() = default;
    CMGetDataRequest(const CMPath& path, const QString& role);
    explicit CMGetDataRequest(const CMRequest& request)
        : CMRequest(as(request, Kind::GetData))
    {}

    QString role() const { return m_data ? m_data->role : QString(); }
};

/// Write one role of the node at the path (or activate it, or run a query).
class CMSetDataRequest : public CMRequest
{
public:
    CMSetDataRequest() = default;
    CMSetDataRequest(const CMPath& path, const QString& role, const QVariant& value);
    explicit CMSetDataRequest(const CMRequest& request)
        : CMRequest(as(request, Kind::SetData))
    {}

    QString role() const { return m_data ? m_data->role : QString(); }
    QVariant value() const { return m_data ? m_data->value : QVariant(); }
};

Q_DECLARE_METATYPE(CMRequest)
Q_DECLARE_METATYPE(CMGetRowsRequest)
Q_DECLARE_METATYPE(CMGetDataRequest)
Q_DECLARE_METATYPE(CMSetDataRequest)
