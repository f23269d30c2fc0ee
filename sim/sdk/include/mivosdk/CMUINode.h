#pragma once
// Thread contract: worker thread only.

#include "mivosdk/CMNode.h"

/// A node the host shows in its user interface; it may offer a context menu (another node).
class CMUINode : public CMNode
{
    Q_OBJECT
public:
    explicit CMUINode(const CMPath& path, QObject* parent = nullptr);

    CMPath contextPath() const { return m_contextPath; }
    void setContextPath(const CMPath& path) { m_contextPath = path; }

private:
    CMPath m_contextPath;
};
