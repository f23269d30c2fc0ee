#pragma once
// Thread contract: test thread only (the commands run on the invoking thread, the worker's, which
// is the test thread in the unit tests).
//
// The host's streamer as a play logic sees it, for unit tests: its commands on a CMMemoryRoot are
// recorded and answered at once, and the test publishes the streamer's data.

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoStreamer.h>

#include <QStringList>

namespace sirius::test {

class FakeStreamer
{
public:
    explicit FakeStreamer(CMMemoryRoot& root)
        : m_root(root)
    {
        for (const CMPath& command :
             {MivoStreamerPlayPath(), MivoStreamerStopPath(), MivoStreamerPausePath(),
              MivoStreamerResumePath(), MivoStreamerSetAttributesPath()}) {
            const QString name = command.toEncoded().mid(1);
            m_root.registerCommand(prefix() + command,
                                   [this, name](const QVariant& args, CMVoidReply reply) {
                                       record(name, args);
                                       reply.setResult();
                                   });
        }
    }
    ~FakeStreamer()
    {
        for (const CMPath& command :
             {MivoStreamerPlayPath(), MivoStreamerStopPath(), MivoStreamerPausePath(),
              MivoStreamerResumePath(), MivoStreamerSetAttributesPath()})
            m_root.unregisterCommand(prefix() + command);
    }

    /// Publishes the streamer's data as the host does; an error name makes it a broken stream.
    void publish(int state, const QString& errorName = QString(),
                 const MivoRoles& trackRoles = MivoRoles())
    {
        MivoStreamerData data;
        data.setState(state);
        if (!errorName.isEmpty())
            data.setError(CMError(errorName, TrString("Streamer", "broken"), QString()));
        if (!trackRoles.isEmpty())
            data.setTrackRoles(trackRoles);
        m_root.setValue(prefix() + MivoStreamerDataPath(), data.__variant());
    }

    /// The commands so far ("play", "stop", ...), and takes them.
    QStringList takeCommands()
    {
        const QStringList taken = m_commands;
        m_commands.clear();
        return taken;
    }
    MivoStreamerPlayArgs lastPlay() const { return m_lastPlay; }

private:
    static CMPath prefix() { return MivoStreamerDefaultPrefixPath(); }
    void record(const QString& name, const QVariant& args)
    {
        m_commands << name;
        if (name == MivoStreamerPlayPath().toEncoded().mid(1))
            m_lastPlay = MivoStreamerPlayArgs(args.toHash());
    }

    CMMemoryRoot& m_root;
    QStringList m_commands;
    MivoStreamerPlayArgs m_lastPlay;
};

} // namespace sirius::test
