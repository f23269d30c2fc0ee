#pragma once
// Thread contract: main thread only; the root's change notices are delivered here.

#include <mivosdk/CMPath.h>
#include <mivosdk/MivoPlayLogic.h>
#include <mivosdk/MivoStreamer.h>

#include <QObject>

class CMMemoryRoot;
class Output;

/// The player's view of a playback: follows the play-logic data and play time that a play logic
/// publishes and the streamer's data, and prints them as they change (the play time once a
/// second).
class Player : public QObject
{
    Q_OBJECT
public:
    Player(CMMemoryRoot& root, Output& output, QObject* parent = nullptr);
    ~Player() override;

    /// Follows the play logic at `path` from now on (instead of the one before).
    void follow(const CMPath& path);
    /// The play logic followed; the module's default one until something was played.
    CMPath playLogicPath() const { return m_path; }
    MivoPlayLogicData data() const { return m_data; }
    /// The play time (ms) the play logic followed published last.
    qint64 position() const { return m_position; }
    MivoStreamerData streamerData() const { return m_streamer; }
    /// Whether the play-logic data and the play time are printed (they always are followed).
    void setPrinting(bool printing) { m_printing = printing; }

signals:
    void dataChanged(const MivoPlayLogicData& data);
    void positionChanged(qint64 ms);
    void streamerChanged(const MivoStreamerData& data);

private:
    void unwatchPlayLogic();
    void onData(const QVariant& value);
    void onPosition(const QVariant& value);
    void onStreamer(const QVariant& value);

    CMMemoryRoot& m_root;
    Output& m_output;
    CMPath m_path;
    MivoPlayLogicData m_data;
    qint64 m_position = 0;
    MivoStreamerData m_streamer;
    qint64 m_lastPrintedSecond = -1;
    bool m_printing = true;
    int m_dataWatch = 0;
    int m_positionWatch = 0;
    int m_streamerWatch = 0;
};
