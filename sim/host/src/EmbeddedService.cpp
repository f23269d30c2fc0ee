#include "EmbeddedService.h"

#ifdef MIVO_HOST_EMBEDDED_SERVICE
#include <sxmservice/Server.h>

#include <stdexcept>
#endif

struct EmbeddedService::Impl
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    std::unique_ptr<sxm::service::Server> server;
#endif
};

EmbeddedService::EmbeddedService()
    : d(std::make_unique<Impl>())
{}

EmbeddedService::~EmbeddedService() = default;

bool EmbeddedService::isAvailable()
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    return true;
#else
    return false;
#endif
}

QString EmbeddedService::demoUser()
{
    return QStringLiteral("demo");
}

QString EmbeddedService::demoPassword()
{
    return QStringLiteral("demo");
}

bool EmbeddedService::start(QString* error)
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    try {
        sxm::service::Options options;
        options.accounts = {{demoUser().toStdString(), demoPassword().toStdString()}};
        d->server = std::make_unique<sxm::service::Server>(options);
        d->server->start("127.0.0.1", 0);
        return true;
    } catch (const std::exception& e) {
        d->server.reset();
        *error = QStringLiteral("Cannot start the embedded service: %1").arg(e.what());
        return false;
    }
#else
    *error = QStringLiteral("This mivo-host was built without the embedded service; pass "
                            "--service URL");
    return false;
#endif
}

QString EmbeddedService::configUrl() const
{
#ifdef MIVO_HOST_EMBEDDED_SERVICE
    if (d->server && d->server->running())
        return QString::fromStdString(d->server->configUrl());
#endif
    return QString();
}
