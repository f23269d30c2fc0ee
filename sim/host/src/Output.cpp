#include "Output.h"

#include "JsonValues.h"

#include <QJsonArray>
#include <cstdio>

namespace {

QString typeName(int type)
{
    switch (type) {
    case MivoRolesType::Container:
        return QStringLiteral("list");
    case MivoRolesType::Item:
        return QStringLiteral("item");
    case MivoRolesType::Audio:
        return QStringLiteral("play");
    case MivoRolesType::Query:
        return QStringLiteral("search");
    case MivoRolesType::Setting:
        return QStringLiteral("setting");
    case MivoRolesType::Placeholder:
        return QStringLiteral("empty");
    case MivoRolesType::Action:
        return QStringLiteral("action");
    case MivoRolesType::SectionHeader:
        return QStringLiteral("section");
    default:
        return QStringLiteral("type %1").arg(type);
    }
}

QString errorText(const CMError& error)
{
    const QString title = error.title().toString();
    const QString message = error.message().toString();
    // "Error: Error: ..." says nothing twice: the default title is left out.
    if (title.isEmpty() || title == CMError::DefaultTitle().toString())
        return message;
    return QStringLiteral("%1: %2").arg(title, message);
}

QJsonObject errorJson(const CMError& error)
{
    return QJsonObject{{QStringLiteral("name"), error.name()},
                       {QStringLiteral("title"), error.title().toString()},
                       {QStringLiteral("message"), error.message().toString()}};
}

} // namespace

Output::Output(bool json)
    : m_json(json)
    , m_out(stdout)
{
    m_out.setCodec("UTF-8");
}

QString Output::stateName(int state)
{
    switch (state) {
    case MivoPlayLogicState::Stopped:
        return QStringLiteral("stopped");
    case MivoPlayLogicState::Busy:
        return QStringLiteral("busy");
    case MivoPlayLogicState::Playing:
        return QStringLiteral("playing");
    case MivoPlayLogicState::Paused:
        return QStringLiteral("paused");
    default:
        return QStringLiteral("state %1").arg(state);
    }
}

void Output::line(const QString& text)
{
    m_out << text << '\n';
    m_out.flush();
}

void Output::json(const QString& name, const QJsonObject& object)
{
    line(jsonvalues::compact(QJsonObject{{name, object}}));
}

QJsonObject Output::rowJson(const MivoRoles& row)
{
    return QJsonObject{
        {QStringLiteral("id"), row.id()},
        {QStringLiteral("title"), row.title()},
        {QStringLiteral("description"), row.description()},
        {QStringLiteral("type"), row.type()},
        {QStringLiteral("path"), row.path().toEncoded()},
        {QStringLiteral("icon"), row.icon()},
        {QStringLiteral("context"), row.context().path().toEncoded()},
    };
}

void Output::rows(const RowsPage& page)
{
    if (m_json) {
        QJsonArray rows;
        for (const MivoRoles& row : page.rows)
            rows.append(rowJson(row));
        line(jsonvalues::compact(QJsonObject{{QStringLiteral("path"), page.path.toEncoded()},
                                             {QStringLiteral("title"), page.title},
                                             {QStringLiteral("total"), page.total},
                                             {QStringLiteral("offset"), page.offset},
                                             {QStringLiteral("rows"), rows}}));
        return;
    }
    const QString count = page.total >= 0 ? QStringLiteral("%1 rows").arg(page.total)
                                          : QStringLiteral("%1 rows shown").arg(page.rows.size());
    line(QStringLiteral("%1  (%2, %3)")
             .arg(page.title.isEmpty() ? QStringLiteral("(untitled)") : page.title,
                  page.path.toEncoded(), count));
    if (page.rows.isEmpty())
        line(QStringLiteral("   (no rows)"));
    int number = page.offset;
    for (const MivoRoles& row : page.rows) {
        ++number;
        QString text = QStringLiteral("%1. %2").arg(number, 4).arg(row.title());
        if (!row.description().isEmpty())
            text += QStringLiteral("  \u2014 ") + row.description();
        text += QStringLiteral("  [%1]").arg(typeName(row.type()));
        line(text);
    }
}

void Output::error(const CMError& error)
{
    if (m_json)
        json(QStringLiteral("error"), errorJson(error));
    else
        line(QStringLiteral("Error: %1 (%2)").arg(errorText(error), error.name()));
}

void Output::popup(const MivoNotificationDisplayItem& item)
{
    const QStringList lines =
        item.message().isEmpty() ? QStringList() : item.message().split(QLatin1Char('\n'));
    if (m_json) {
        json(QStringLiteral("popup"),
             QJsonObject{{QStringLiteral("title"), item.title()},
                         {QStringLiteral("lines"), QJsonArray::fromStringList(lines)},
                         {QStringLiteral("priority"), item.priority()},
                         {QStringLiteral("timeoutMs"), item.timeout()}});
        return;
    }
    line(QStringLiteral("[pop-up] %1  (priority %2, %3 s)")
             .arg(item.title())
             .arg(item.priority())
             .arg(item.timeout() / 1000.0));
    for (const QString& text : lines)
        line(QStringLiteral("         ") + text);
}

void Output::playLogic(const CMPath& path, const MivoPlayLogicData& data)
{
    const MivoRoles media = data.mediaRoles();
    const MivoRoles track = data.trackRoles();
    const MivoPlayLogicControls controls = data.controls();
    if (m_json) {
        json(QStringLiteral("playlogic"),
             QJsonObject{
                 {QStringLiteral("path"), path.toEncoded()},
                 {QStringLiteral("state"), data.state()},
                 {QStringLiteral("stateName"), stateName(data.state())},
                 {QStringLiteral("playId"), data.playId()},
                 {QStringLiteral("media"),
                  QJsonObject{{QStringLiteral("id"), media.id()},
                              {QStringLiteral("title"), media.title()},
                              {QStringLiteral("path"), media.path().toEncoded()}}},
                 {QStringLiteral("track"),
                  QJsonObject{{QStringLiteral("title"), track.title()},
                              {QStringLiteral("description"), track.description()}}},
                 {QStringLiteral("error"), data.error()},
                 {QStringLiteral("controls"),
                  QJsonObject{{QStringLiteral("pause"), controls.pause()},
                              {QStringLiteral("next"), controls.next()},
                              {QStringLiteral("previous"), controls.previous()}}},
                 {QStringLiteral("durationMs"), double(data.status().duration())},
             });
        return;
    }
    QString text = QStringLiteral("[%1] %2").arg(stateName(data.state()), media.title());
    if (!track.title().isEmpty())
        text += QStringLiteral(" \u2014 ") + track.title();
    if (!track.description().isEmpty())
        text += QStringLiteral(" (%1)").arg(track.description());
    if (!data.error().isEmpty())
        text += QStringLiteral("  ! ") + data.error();
    line(text);
}

void Output::position(const CMPath& path, qint64 ms)
{
    if (m_json) {
        json(QStringLiteral("position"), QJsonObject{{QStringLiteral("path"), path.toEncoded()},
                                                     {QStringLiteral("ms"), double(ms)}});
        return;
    }
    const qint64 seconds = ms / 1000;
    line(QStringLiteral("  %1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0')));
}

void Output::streamer(const MivoStreamerData& data)
{
    QJsonObject object{{QStringLiteral("state"), data.state()},
                       {QStringLiteral("stateName"), stateName(data.state())},
                       {QStringLiteral("playTimeMs"), double(data.playTime())}};
    if (data.hasError())
        object.insert(QStringLiteral("error"), errorJson(data.error()));
    if (m_json) {
        json(QStringLiteral("streamer"), object);
        return;
    }
    QString text = QStringLiteral("[streamer] %1").arg(stateName(data.state()));
    if (data.hasError())
        text += QStringLiteral("  ! %1 (%2)").arg(errorText(data.error()), data.error().name());
    line(text);
}

void Output::closed(const CMPath& path)
{
    if (m_json)
        json(QStringLiteral("closed"), QJsonObject{{QStringLiteral("path"), path.toEncoded()}});
    else
        line(QStringLiteral("The list %1 was closed by the module").arg(path.toEncoded()));
}

void Output::changed(const CMPath& path, const QString& change, int count)
{
    if (m_json)
        json(QStringLiteral("changed"), QJsonObject{{QStringLiteral("path"), path.toEncoded()},
                                                    {QStringLiteral("change"), change},
                                                    {QStringLiteral("count"), count}});
}

void Output::item(const QString& name, const QJsonObject& object, const QString& text)
{
    if (m_json)
        json(name, object);
    else if (!text.isNull())
        line(text);
}

void Output::note(const QString& text)
{
    if (!m_json)
        line(text);
}
