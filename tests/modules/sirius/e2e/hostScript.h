#pragma once
// Thread contract: test thread only.
//
// Runs the built mivo-host with the built module on a script and splits its --json output into
// steps, each started by a marker command (`setting /e2e/step "NAME"`, which the module never
// sees). Lines carry the time they were read, for expectations on the service's clock.

#include <QJsonArray>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "QtTestSupport.h" // prints QStrings in failure messages

namespace e2e {

/// The row type of a section header (MivoRolesType::SectionHeader), as --json prints it.
constexpr int kSectionHeader = 103;

/// One line of mivo-host's --json output and when the test read it (ms since the epoch).
struct OutputLine
{
    qint64 atMs = 0;
    QJsonObject json;
};

/// What one step of a script printed: the lines after its marker, up to the next marker.
struct Step
{
    qint64 startMs = 0; ///< when its marker was read
    QList<OutputLine> lines;

    /// The inner objects of the documents named `key` ("service", "setting", "popup", ...).
    QList<QJsonObject> items(const QString& key) const;
    QList<OutputLine> lists() const;       ///< the documents with rows
    QJsonObject list(int index = 0) const; ///< empty when there is none
    QStringList errors() const;
    /// The requests that the step's `service requests ENDPOINT` commands listed, in order.
    QStringList requests(const QString& endpoint) const;
};

/// A script for `mivo-host run`, built a command at a time.
class Script
{
public:
    Script& step(const QString& name);
    Script& line(const QString& command);
    /// `rows PATH`, the path quoted so that "#", "&" and blanks survive the script's parser.
    Script& rows(const QString& path);
    Script& wait(int seconds);
    QString text() const { return m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n'); }

private:
    QStringList m_lines;
};

/// The output of one mivo-host run.
struct HostRun
{
    int exitCode = -1;
    bool timedOut = false;
    QString standardError;
    QList<OutputLine> lines;

    Step step(const QString& name) const; ///< fails the test when the run never reached it
    std::string diagnostics() const;      ///< exit code and standard error
};

/// A fresh settings file per test and a way to run mivo-host on a script with it.
class HostTest : public ::testing::Test
{
protected:
    /// `options` go before the command (e.g. {"--speed", "20"}).
    HostRun runScript(const Script& script, const QProcessEnvironment& env = QProcessEnvironment(),
                      const QStringList& options = QStringList()) const;
    /// A file in the test's own temporary folder.
    QString file(const QString& name) const { return m_dir.filePath(name); }
    /// Each entry: a settings path and its stored value ({"type": T, "value": V}).
    void writeSettings(const QJsonObject& settings) const;
    QString settingsFile() const;

private:
    QTemporaryDir m_dir;
};

QJsonArray rowsOf(const QJsonObject& list);
QStringList titlesOf(const QJsonObject& list);
/// The first row whose field `key` equals `value`; an empty object when none does.
QJsonObject rowWhere(const QJsonObject& list, const QString& key, const QString& value);
QJsonObject storedBool(bool value); ///< {"type": 1, "value": b}

} // namespace e2e
