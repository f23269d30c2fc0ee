#pragma once
// Thread contract: worker thread only; setData and setPlayTime publish through CMRoot() (safe).

#include "mivosdk/CMNode.h"
#include "mivosdk/MivoPlayLogic.h"

/// The base of a play-logic node. The host's player sends it set-data requests whose role names
/// the command (Play(), Stop(), ...) and whose value carries the arguments (a MivoPlayLogicPlayArgs
/// hash for Play()); they reach the virtual operations below, which answer the request's reply.
/// The play logic publishes its state with setData() at path() + MivoPlayLogicDataPath() and its
/// play time with setPlayTime() at path() + MivoPlayLogicPositionPath(), where the host reads and
/// watches them.
class PlayLogicBase : public CMNode
{
    Q_OBJECT
public:
    explicit PlayLogicBase(const CMPath& path, QObject* parent = nullptr);

    static QString Play() { return QStringLiteral("play"); }
    static QString Stop() { return QStringLiteral("stop"); }
    static QString Pause() { return QStringLiteral("pause"); }
    static QString Next() { return QStringLiteral("next"); }
    static QString Previous() { return QStringLiteral("previous"); }
    static QString Like() { return QStringLiteral("like"); }
    static QString Dislike() { return QStringLiteral("dislike"); }
    static QString SeekTime() { return QStringLiteral("seekTime"); }
    static QString SeekBytes() { return QStringLiteral("seekBytes"); }
    static QString SetCurrentTrack() { return QStringLiteral("setCurrentTrack"); }
    static QString PlayModesSupported() { return QStringLiteral("playModesSupported"); }

    /// Routes the command roles above; other roles go to CMNode (an error).
    bool setDataRequest(const CMSetDataRequest& request) override;
    /// Answers PlayModesSupported() and the current data (role MivoPlayLogicDataPath's text).
    bool getDataRequest(const CMGetDataRequest& request) override;

    /// MUST override: start playing the request's MivoPlayLogicPlayArgs.
    virtual void play(const CMSetDataRequest& request) = 0;
    /// MUST override: stop playing.
    virtual void stop(const CMSetDataRequest& request) = 0;
    /// MAY override: toggle pause. Default: the error "pause is not supported".
    virtual void pause(const CMSetDataRequest& request);
    /// MAY override: skip forward / back. Default: the error "<role> is not supported".
    virtual void next(const CMSetDataRequest& request);
    virtual void previous(const CMSetDataRequest& request);
    /// MAY override; default: the error "<role> is not supported".
    virtual void like(const CMSetDataRequest& request);
    virtual void dislike(const CMSetDataRequest& request);
    virtual void seekTime(const CMSetDataRequest& request);
    virtual void seekBytes(const CMSetDataRequest& request);
    virtual void setCurrentTrack(const CMSetDataRequest& request);
    /// MAY override: the play modes offered (e.g. "shuffle"); default none.
    virtual QStringList playModesSupported() const { return QStringList(); }

    /// The data last published.
    MivoPlayLogicData data() const { return m_data; }
    /// Publishes `data` (replacing the previous data whole).
    void setData(const MivoPlayLogicData& data);
    /// Publishes the play time in milliseconds.
    void setPlayTime(qint64 ms);

private:
    void refuse(const CMSetDataRequest& request);

    MivoPlayLogicData m_data;
};
