#include "nodes/accountNode.h"

#include "nodes/registeredNode.h"
#include "siriusLib/siriusLib.h"
#include "siriusLogging.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoRoles.h>

AccountNode* AccountNode::create(SiriusLib* lib, CMNodes* nodes, const CMPath& path)
{
    LOG4CPLUS_INFO(sirius::cbSiriusLogger(), "creating Sirius Account node");
    return registeredNode(new AccountNode(lib, path), nodes);
}

AccountNode::AccountNode(SiriusLib* lib, const CMPath& path)
    : CMNode(path)
    , m_lib(lib)
{}

bool AccountNode::setDataRequest(const CMSetDataRequest& request)
{
    SIRIUS_TRACE_FUNCTION(sirius::cbSiriusLogger());
    if (request.role() != MivoRoles::Value()) {
        LOG4CPLUS_ERROR(sirius::cbSiriusLogger(),
                        "SiriusAccountNode::setDataRequest: role is not for SiriusAccount");
        return CMNode::setDataRequest(request);
    }
    const MivoValue value(request.value().toHash());
    if (value.type() != MivoValueType::SiriusAccount) {
        request.reply().setError(CMError(QStringLiteral("SiriusAccountNode"),
                                         TrString("AccountNode", "Invalid value type"),
                                         CMError::DefaultTitle()));
        return true;
    }
    const MivoSiriusAccount account = value.siriusAccount();
    if (account.username().isEmpty()) {
        CMRoot()->setValue(MivoSiriusSettingsAccountPath(),
                           MivoValue().setSiriusAccount(MivoSiriusAccount()).__variant(),
                           CMVoidReply());
        emit accountChanged();
        // Signing out cannot fail; the host is told it is done.
        request.reply().setResult();
        return true;
    }
    m_lib->login(account.username(), account.password())
        .onFinished(this, [this, request](const CMReply<bool>& login) {
            if (login.result()) {
                emit accountChanged();
                request.reply().setResult();
            } else {
                request.reply().setError(login.error());
            }
        });
    return true;
}
