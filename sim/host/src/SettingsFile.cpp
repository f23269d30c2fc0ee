#include "SettingsFile.h"

#include "JsonValues.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

constexpr int kFileFormat = 1;
const QString kFormatKey = QStringLiteral("format");
const QString kSettingsKey = QStringLiteral("settings");

/// The settings of a parsed document, or false when the document is not a settings file.
bool settingsOf(const QJsonDocument& document, QHash<CMPath, QVariant>* values, QString* why)
{
    if (!document.isObject()) {
        *why = QStringLiteral("not a JSON object");
        return false;
    }
    const QJsonObject top = document.object();
    if (top.value(kFormatKey).toInt(-1) != kFileFormat) {
        *why = QStringLiteral("unknown format (expected \"format\": %1)").arg(kFileFormat);
        return false;
    }
    if (!top.value(kSettingsKey).isObject()) {
        *why = QStringLiteral("no \"settings\" object");
        return false;
    }
    const QJsonObject settings = top.value(kSettingsKey).toObject();
    for (auto it = settings.constBegin(); it != settings.constEnd(); ++it) {
        const CMPath path = CMPath::fromEncoded(it.key());
        if (!it.key().startsWith(QLatin1Char('/'))) {
            *why = QStringLiteral("\"%1\" is not a path").arg(it.key());
            return false;
        }
        values->insert(path, jsonvalues::fromJson(it.value()));
    }
    return true;
}

} // namespace

SettingsFile::SettingsFile(const QString& fileName)
    : m_fileName(fileName)
{}

QHash<CMPath, QVariant> SettingsFile::load(QString* message)
{
    QHash<CMPath, QVariant> values;
    QFile file(m_fileName);
    if (!file.exists())
        return values;
    if (!file.open(QIODevice::ReadOnly)) {
        // Unreadable is not corrupt: the file may be fine and only its permissions wrong, so it
        // is neither moved nor overwritten.
        m_writable = false;
        *message = QStringLiteral("Cannot read settings file %1 (%2); starting from defaults "
                                  "and not saving settings in this run")
                       .arg(m_fileName, file.errorString());
        return values;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    file.close();
    QString why;
    if (parseError.error != QJsonParseError::NoError)
        why = parseError.errorString();
    else if (settingsOf(document, &values, &why))
        return values;
    values.clear();
    QString moved;
    if (moveAside(&moved)) {
        *message = QStringLiteral("Settings file %1 is corrupt (%2); moved it to %3 and "
                                  "starting from defaults")
                       .arg(m_fileName, why, moved);
    } else {
        m_writable = false;
        *message = QStringLiteral("Settings file %1 is corrupt (%2) and could not be moved aside "
                                  "(%3); starting from defaults and not saving settings in this "
                                  "run")
                       .arg(m_fileName, why, moved);
    }
    return values;
}

bool SettingsFile::moveAside(QString* message)
{
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    QString target = QStringLiteral("%1.corrupt-%2").arg(m_fileName, stamp);
    // Two corrupt files within one second must not overwrite each other.
    for (int n = 2; QFileInfo::exists(target); ++n)
        target = QStringLiteral("%1.corrupt-%2-%3").arg(m_fileName, stamp).arg(n);
    QFile file(m_fileName);
    if (!file.rename(target)) {
        *message = file.errorString();
        return false;
    }
    *message = target;
    return true;
}

bool SettingsFile::save(const QHash<CMPath, QVariant>& values, QString* error) const
{
    if (!m_writable) {
        *error = QStringLiteral("saving is disabled for %1").arg(m_fileName);
        return false;
    }
    QJsonObject settings;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        settings.insert(it.key().toEncoded(), jsonvalues::toJson(it.value()));
    QJsonObject top;
    top.insert(kFormatKey, kFileFormat);
    top.insert(kSettingsKey, settings);

    const QString dir = QFileInfo(m_fileName).absolutePath();
    if (!QDir().mkpath(dir)) {
        *error = QStringLiteral("cannot create %1").arg(dir);
        return false;
    }
    QSaveFile file(m_fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = file.errorString();
        return false;
    }
    file.write(QJsonDocument(top).toJson(QJsonDocument::Indented));
    if (!file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}
