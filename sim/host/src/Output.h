#pragma once
// Thread contract: main thread only.

#include <mivosdk/CMError.h>
#include <mivosdk/MivoNotificationDisplayItem.h>
#include <mivosdk/MivoPlayLogic.h>
#include <mivosdk/MivoRoles.h>
#include <mivosdk/MivoStreamer.h>

#include <QJsonObject>
#include <QTextStream>

/// One page of a list as the host shows it.
struct RowsPage
{
    CMPath path;
    QString title;
    int total = -1;
    int offset = 0;
    QList<MivoRoles> rows;
};

/// Everything mivo-host prints on standard output. With --json each item is one JSON document
/// on one line (the stable, documented format); otherwise friendly text. Lines are flushed as
/// they are written, so that a reader of a pipe sees them at once.
class Output
{
public:
    explicit Output(bool json);

    bool isJson() const { return m_json; }

    /// {"path","title","total","offset","rows":[{"id","title","description","type","path",
    /// "icon","context"}]}
    void rows(const RowsPage& page);
    /// {"error":{"name","title","message"}}
    void error(const CMError& error);
    /// {"popup":{"title","lines","priority","timeoutMs"}}
    void popup(const MivoNotificationDisplayItem& item);
    /// {"playlogic":{"path","state","stateName","playId","media","track","error","controls",
    /// "durationMs"}}
    void playLogic(const CMPath& path, const MivoPlayLogicData& data);
    /// {"position":{"path","ms"}}
    void position(const CMPath& path, qint64 ms);
    /// {"streamer":{"state","stateName","playTimeMs","error"?}}
    void streamer(const MivoStreamerData& data);
    /// {"closed":{"path"}}
    void closed(const CMPath& path);
    /// {"changed":{"path","change","count"}}
    void changed(const CMPath& path, const QString& change, int count);
    /// {<name>: object} in JSON; `text` otherwise.
    void item(const QString& name, const QJsonObject& object, const QString& text);
    /// Text mode only (hints, prompts' companions); nothing with --json.
    void note(const QString& text);

    /// The JSON form of a row (also used by the shell).
    static QJsonObject rowJson(const MivoRoles& row);
    static QString stateName(int state);

private:
    void line(const QString& text);
    void json(const QString& name, const QJsonObject& object);

    bool m_json;
    QTextStream m_out;
};
