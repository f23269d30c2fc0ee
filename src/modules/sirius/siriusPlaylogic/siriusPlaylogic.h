#pragma once
// Thread contract: worker thread only. The library's audio reaches the smt2 sender on the
// library's stream thread (SmtAudioSender::write) and never touches this object; the sender's
// completions and the library's signals arrive here queued.

#include "siriusPlaylogic/smtAudioSender.h"

#include <mivosdk/CMValueItem.h>
#include <mivosdk/MivoSirius.h>
#include <mivosdk/PlayLogicBase.h>

#include <chrono>
#include <memory>

class ContentManager;
class SiriusLib;

/// The module's play-logic node. It turns the roles the host's player asks for into a library
/// playable, has the streamer play the smt2 socket and the library play the stream, moves the
/// audio over the socket, and publishes the play-logic data the player shows: state, track
/// roles from the library's metadata, the segment's duration and the play time.
///
/// One playback follows another through the on-stop task: whatever must happen once the running
/// playback has stopped (answer a stop, start other roles, show an error) waits there until the
/// streamer reports the stop.
class SiriusPlaylogic : public PlayLogicBase
{
    Q_OBJECT
public:
    /// The play logic's view of the streamer; the numbers are what the log shows.
    enum class StreamerState
    {
        Starting = 0, ///< a new playback went to the streamer and the library
        Playing = 1,  ///< the streamer reported a running state
        Stopping = 2, ///< a stop was sent
        Stopped = 3,
    };

    /// What to do once the current playback has stopped.
    struct OnStopTask
    {
        enum class Type
        {
            None = 0,
            Stop = 1,      ///< answer `reply`: the stop request is done
            PlayRoles = 2, ///< start `roles`, answering `reply`
            ShowError = 3, ///< show `message` as a paused item that PLAY starts again
        };
        Type type = Type::None;
        CMVoidReply reply = nullptr;
        MivoRoles roles;
        QString message;
    };

    /// How long a stop waits for the streamer to acknowledge the flush before it disconnects
    /// anyway. A paused streamer, or one whose queue is full, reads the flush only after its queue
    /// has played out, which can take many seconds; the worker thread must not wait that long.
    static constexpr std::chrono::milliseconds kFlushLimit{1500};
    /// The queue the streamer is asked to keep for this stream.
    static constexpr int kStreamerQueueBytes = 1048576;

    static SiriusPlaylogic* create(CMNodes* nodes, const CMPath& path, SiriusLib* lib,
                                   ContentManager* contentManager, const QString& streamUrlPrefix,
                                   bool fullFeatured);

    SiriusPlaylogic(const CMPath& path, SiriusLib* lib, ContentManager* contentManager,
                    const QString& streamUrlPrefix, bool fullFeatured);
    ~SiriusPlaylogic() override;

    void play(const CMSetDataRequest& request) override;
    void stop(const CMSetDataRequest& request) override;
    /// A toggle: pauses a running playback, resumes a paused one, and starts the last roles again
    /// after an error stop.
    void pause(const CMSetDataRequest& request) override;

    /// Plays `roles`, stopping the current playback first if one runs; `reply` is answered when
    /// the new playback has been handed to the streamer.
    void playRoles(const MivoRoles& roles, const CMVoidReply& reply);
    /// Stops playback and shows `message` with the stopped item (only the message when nothing
    /// runs; nothing when the play logic is stopped or stopping).
    void reportError(const QString& message);

    MivoSiriusPlayable rolesToPlayable(const MivoRoles& roles) const;
    /// `roles` with the library's stored track metadata over them (artist, album, title, art).
    MivoRoles translateTrackRoles(const MivoRoles& roles) const;

    StreamerState streamerState() const { return m_streamerState; }
    bool isStopping() const { return m_stopping; }
    /// The socket state of the audio path (3 connected).
    int senderState() const { return m_audio->state(); }

signals:
    /// The smt2 sender connected: the library may start (emitted on the I/O thread).
    void startSiriusPlayback();
    /// A send completed while connected: the library may offer more (emitted on the I/O thread).
    void sendAudioDataFinished();

public slots:
    void on_siriusLib_metadata(const MivoSiriusTrackMetadata& trackMetadata);
    void on_siriusLib_timebar(const MivoSiriusTimebar& timebar);
    void on_streamerPlayTimeChanged(const MivoValue& value);
    void on_streamerDataChanged(const MivoValue& newValue, const MivoValue& oldValue);
    void on_startSiriusPlayback();

private:
    void startNewPlayback(const MivoRoles& roles, const CMVoidReply& reply);
    void setOnStopTask(const OnStopTask& task);
    void stopCurrentPlayback();
    void playbackStopped();
    /// Refuses a request with `message`, named "SiriusXM", and logs it.
    void refuse(const CMVoidReply& reply, const char* message) const;
    /// The roles' on-demand expiry has passed (roles without one never expire).
    static bool hasExpired(const MivoRoles& roles);
    MivoPlayLogicControls controls() const;
    void publishState(int state);
    void invokeStreamer(const CMPath& command, const QVariant& args,
                        const CMVoidReply& reply = nullptr) const;
    void setBufferingConfig(const MivoValue& config) const;
    /// Follows the streamer's data and play time while a playback runs (one connection each).
    void followStreamer(bool follow);

    SiriusLib* const m_lib;
    ContentManager* const m_contentManager;
    const QString m_streamUrlPrefix;
    const bool m_fullFeatured;

    StreamerState m_streamerState = StreamerState::Stopped;
    bool m_stopping = false;
    MivoRoles m_currentRoles;
    MivoSiriusPlayable m_currentPlayable;
    MivoSiriusTrackMetadata m_trackMetadata;
    qint64 m_playTimeOffset = 0;
    OnStopTask m_onStopTask;
    MivoValue m_bufferingConfig;
    MivoValue m_defaultBufferingConfig;

    CMValueItem* m_streamerData = nullptr;
    CMValueItem* m_playTime = nullptr;
    QList<QMetaObject::Connection> m_streamerConnections;
    /// Shared with the library's data-write function, which may still be running on the stream
    /// thread while this object goes away.
    std::shared_ptr<sirius::SmtAudioSender> m_audio;
};
