#pragma once
// Thread contract: main thread only (start and stop belong to the owner).

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>

/// The simulated SiriusXM service, run inside mivo-host on a free loopback port when no
/// --service is given, so that the default module works on a machine with nothing else running.
/// Available when the build has the service library; otherwise start() says so.
class EmbeddedService
{
public:
    EmbeddedService();
    ~EmbeddedService();

    static bool isAvailable();
    /// Starts the service; false with `error` set when it cannot.
    bool start(QString* error);
    /// The configuration URL the client library must use; empty when not running.
    QString configUrl() const;
    /// The service's demo account.
    static QString demoUser();
    static QString demoPassword();

    // What the service's admin endpoints do (docs/service-api.md), for the `service` command.
    /// Merges a fault patch, the JSON of POST /admin/faults; `faults` receives the faults then in
    /// force. A refused patch changes nothing: false with `error` set.
    bool mergeFaults(const QByteArray& patch, QByteArray* faults, QString* error);
    /// endPlayback, changeFavorites, changeRecents (both for the demo account), exhaustSkips,
    /// expireSessions or reset; false with `error` set for another name.
    bool runAction(const QString& action, QString* error);
    /// The requests the service answered on `endpoint` since the last call, oldest first; false
    /// with `error` set for an unknown endpoint name.
    bool takeRequests(const QString& endpoint, QStringList* requests, QString* error);

    /// The plaintext audio the service's most recent tune delivered from its start position
    /// (sxm::service::Server::tunedPlaintext, docs/service-api.md).
    struct TunedPlaintext
    {
        QString kind;
        QString id;
        int bitrate = -1;
        qint64 fromSegment = 0;
        qint64 toSegment = 0;
        qint64 startOffsetMs = 0;
        QByteArray plaintext;
    };
    /// False with `error` set when no tune happened yet.
    bool tunedPlaintext(TunedPlaintext* tuned, QString* error);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
