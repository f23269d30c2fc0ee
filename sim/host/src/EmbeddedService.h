#pragma once
// Thread contract: main thread only (start and stop belong to the owner).

#include <QString>
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

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
