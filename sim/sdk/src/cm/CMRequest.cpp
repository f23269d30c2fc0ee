#include "mivosdk/CMRequest.h"

CMGetRowsRequest::CMGetRowsRequest(const CMPath& path, int offset, int count)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::GetRows;
    data->path = path;
    data->offset = qMax(0, offset);
    data->count = count < 0 ? -1 : count;
    m_data = std::move(data);
}

CMGetDataRequest::CMGetDataRequest(const CMPath& path, const QString& role)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::GetData;
    data->path = path;
    data->role = role;
    m_data = std::move(data);
}

CMSetDataRequest::CMSetDataRequest(const CMPath& path, const QString& role, const QVariant& value)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::SetData;
    data->path = path;
    data->role = role;
    data->value = value;
    m_data = std::move(data);
}
