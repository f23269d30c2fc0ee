#pragma once
// Thread contract: worker thread only.

#include <mivosdk/CMNode.h>

class SiriusLib;

/// The host's write access to the user's SiriusXM account: setting a MivoValue of type 99
/// (a MivoSiriusAccount) signs in with it, or, with an empty user name, signs out by storing an
/// empty account. accountChanged() tells the worker either way.
class AccountNode : public CMNode
{
    Q_OBJECT
public:
    static AccountNode* create(SiriusLib* lib, CMNodes* nodes, const CMPath& path);

    AccountNode(SiriusLib* lib, const CMPath& path);

    bool setDataRequest(const CMSetDataRequest& request) override;

signals:
    void accountChanged();

private:
    SiriusLib* const m_lib;
};
