#pragma once
// Thread contract: test thread only.

#include "contentFixtures.h"
#include "nodes/nodesFactory.h"

#include <mivosdk/CMNode.h>
#include <mivosdk/CMNodes.h>
#include <mivosdk/CMRequest.h>
#include <mivosdk/MivoRowsRoles.h>

namespace fixtures {

/// The browse root the node tests build below.
inline CMPath browseRoot()
{
    return CMPath(QStringList{QStringLiteral("sirius"), QStringLiteral("browse")});
}

/// A cut of `channelId` old enough to be current (older than the 160 s hold-back).
inline MivoSiriusPdtCut dueCut(const QString& channelId, const QString& title)
{
    return MivoSiriusPdtCut()
        .setChannelId(channelId)
        .setTime(QDateTime::currentMSecsSinceEpoch() - 200000)
        .setArtist(QStringLiteral("Artist"))
        .setTitle(title);
}

/// A node registry and a factory over the content manager of ContentManagerTest.
class NodesTest : public ContentManagerTest
{
protected:
    /// Sends a get-rows request for `path` to the node the registry has there, lets queued work
    /// run, and returns the answer (rows resolved the way the host sees them).
    MivoRowsRoles getRows(const CMPath& path, int offset = 0, int count = -1)
    {
        const CMGetRowsRequest request(path, offset, count);
        CMNode* node = nodes.node(path);
        EXPECT_NE(node, nullptr) << "no node at " << path.toEncoded().toStdString();
        if (!node)
            return MivoRowsRoles();
        node->getRowsRequest(request);
        EXPECT_TRUE(testsupport::waitUntil([&] { return request.reply().isFinished(); }))
            << "no answer for " << path.toEncoded().toStdString();
        lastError = request.reply().error();
        return MivoRowsRoles(request.reply().result().toHash());
    }

    CMNodes nodes;
    NodesFactory factory{&nodes, browseRoot(), &manager, true};
    CMError lastError;
};

} // namespace fixtures
