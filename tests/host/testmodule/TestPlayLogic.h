#pragma once
// Thread contract: worker thread only; the sender's I/O runs on its own thread.

#include "PatternSender.h"

#include <mivosdk/CMValueItem.h>
#include <mivosdk/PlayLogicBase.h>

/// The test module's play logic: plays the pattern a row's path names, through the host's
/// streamer, and mirrors the streamer's state into its play-logic data. Once audio plays, the
/// data names a track ("<title> track"); a streamer error also opens a pop-up.
///
/// Row paths: /test/items/<kind>?bytes=N&chunk=N&queue=N with kind "pattern" (the pattern, then
/// goodbye), "endless" (the pattern until stopped) or "break" (the pattern, then the sender
/// vanishes without goodbye).
class TestPlayLogic : public PlayLogicBase
{
    Q_OBJECT
public:
    TestPlayLogic(const CMPath& path, const QString& streamUrlPrefix, QObject* parent = nullptr);

    void play(const CMSetDataRequest& request) override;
    void stop(const CMSetDataRequest& request) override;
    void pause(const CMSetDataRequest& request) override;

private:
    void onStreamerData(const MivoValue& value);
    void onPlayTime(const MivoValue& value);
    void publishState(int state, const QString& error = QString());

    QString m_socketPath;
    QString m_streamUrlPrefix;
    PatternSender m_sender;
    CMValueItem* m_streamerData;
    CMValueItem* m_playTime;
};
