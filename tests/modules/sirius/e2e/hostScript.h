#pragma once
// Thread contract: test thread only.
//
// Runs the built mivo-host with the built cb_sirius module and its embedded service on a script,
// the way a device drives the module, and splits the --json output into named steps. A step
// starts with a marker command (`setting /e2e/step "NAME"`, which touches nothing the module
// sees), so each step's output is told apart however many lines its commands print. Every line
// carries the time the test read it, for expectations that depend on the service's clock (what a
// channel plays now); no test asserts on how long anything took.

#include <QJsonArray>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "QtTestSupport.h" // prints QStrings in failure messages

namespace e2e {

/// One line of mivo-host's --json output and when the test read it (ms since the epoch).
struct OutputLine
{
    qint64 atMs = 0;
    QJsonObject json;
};

/// What one step of a script printed: the lines after its marker, up to the next marker.
struct Step
{
    QString name;
    qint64 startMs = 0; ///< when its marker was read
    QList<OutputLine> lines;

    /// The documents named `key` ("service", "burst", "setting", "changed", "popup", ...), their
    /// inner objects in order.
    QList<QJsonObject> items(const QString& key) const;
    /// The lists shown (documents with rows), in order, and when each was read.
    QList<OutputLine> lists() const;
    /// The list shown `index`-th in this step; an empty object when there is none.
    QJsonObject list(int index = 0) const;
    /// The messages of the errors printed in this step.
    QStringList errors() const;
};

/// A script for `mivo-host run`, built a command at a time.
class Script
{
public:
    /// Starts a step: its marker, then the commands that follow until the next step.
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

    /// The step of that name (a failed expectation when the run never reached it).
    Step step(const QString& name) const;
    /// Every document named `key` in the whole run (pop-ups come whenever the module shows them).
    QList<QJsonObject> items(const QString& key) const;
    /// The run's diagnostics for a failure message: exit code and standard error.
    std::string diagnostics() const;
};

/// A fresh settings file per test and a way to run mivo-host on a script with it.
class HostTest : public ::testing::Test
{
protected:
    /// Runs `mivo-host --json --module <built module> --settings <this test's file> run SCRIPT`.
    HostRun runScript(const Script& script,
                      const QProcessEnvironment& env = QProcessEnvironment()) const;
    /// Writes the settings file: each entry is a settings path and its stored value
    /// ({"type": T, "value": V}), as mivo-host keeps them.
    void writeSettings(const QJsonObject& settings) const;
    QString settingsFile() const;

private:
    QTemporaryDir m_dir;
};

/// The rows of a list document.
QJsonArray rowsOf(const QJsonObject& list);
/// The titles of a list's rows, in order.
QStringList titlesOf(const QJsonObject& list);
/// The row of a list whose field `key` equals `value`; an empty object when none does.
QJsonObject rowWhere(const QJsonObject& list, const QString& key, const QString& value);
/// A stored boolean setting value, {"type": 1, "value": b}.
QJsonObject storedBool(bool value);

} // namespace e2e
