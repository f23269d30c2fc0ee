#pragma once
// Thread contract: worker thread only.

#include "mivosdk/CMContainerNode.h"

/// A node that takes a text from the host (a search): every set-data request on it is a query,
/// its value the text.
class CMQueryNode : public CMContainerNode
{
    Q_OBJECT
public:
    explicit CMQueryNode(const CMPath& path, QObject* parent = nullptr);

    /// MUST override: run the query and answer the request (typically with the encoded path of a
    /// node that lists the results).
    virtual bool queryRequest(const CMSetDataRequest& request) = 0;

    /// Hands every set-data request to queryRequest().
    bool setDataRequest(const CMSetDataRequest& request) override;
};
