#include "Player.h"

#include "Output.h"

#include <mivosdk/CMRoot.h>
#include <mivosdk/MivoPaths.h>
#include <mivosdk/MivoValue.h>

Player::Player(CMMemoryRoot& root, Output& output, QObject* parent)
    : QObject(parent)
    , m_root(root)
    , m_output(output)
    , m_path(MivoSiriusPlayLogicPath())
{
    m_streamerWatch =
        m_root.watchValue(MivoStreamerDefaultPrefixPath() + MivoStreamerDataPath(), this,
                          [this](const QVariant& value, const QVariant&) { onStreamer(value); });
}

Player::~Player()
{
    unwatchPlayLogic();
    m_root.unwatchValue(m_streamerWatch);
}

void Player::unwatchPlayLogic()
{
    if (m_dataWatch)
        m_root.unwatchValue(m_dataWatch);
    if (m_positionWatch)
        m_root.unwatchValue(m_positionWatch);
    m_dataWatch = m_positionWatch = 0;
}

void Player::follow(const CMPath& path)
{
    if (path == m_path && m_dataWatch)
        return;
    unwatchPlayLogic();
    m_path = path;
    m_data = MivoPlayLogicData(m_root.getValue(path + MivoPlayLogicDataPath()).toHash());
    m_position =
        MivoValue(m_root.getValue(path + MivoPlayLogicPositionPath()).toHash()).toLongLong();
    m_lastPrintedSecond = -1;
    m_dataWatch =
        m_root.watchValue(path + MivoPlayLogicDataPath(), this,
                          [this](const QVariant& value, const QVariant&) { onData(value); });
    m_positionWatch =
        m_root.watchValue(path + MivoPlayLogicPositionPath(), this,
                          [this](const QVariant& value, const QVariant&) { onPosition(value); });
}

void Player::onData(const QVariant& value)
{
    // A play logic publishes its data as the MivoPlayLogicData hash itself.
    m_data = MivoPlayLogicData(value.toHash());
    if (m_printing)
        m_output.playLogic(m_path, m_data);
    emit dataChanged(m_data);
}

void Player::onPosition(const QVariant& value)
{
    const qint64 ms = MivoValue(value.toHash()).toLongLong();
    m_position = ms;
    emit positionChanged(ms);
    const qint64 second = ms / 1000;
    if (second == m_lastPrintedSecond)
        return;
    m_lastPrintedSecond = second;
    if (m_printing)
        m_output.position(m_path, ms);
}

void Player::onStreamer(const QVariant& value)
{
    const MivoStreamerData data(value.toHash());
    const bool changed = data.state() != m_streamer.state() || data.hasError();
    m_streamer = data;
    if (changed && m_printing)
        m_output.streamer(data);
    emit streamerChanged(data);
}
